#include "control/zolvexctl/FlowWait.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace zolvex::control {

FlowWait::FlowWait(ZolvexClient& client, std::function<void(const QString&)> progress) : client_(client) {
  assignments_ =
      client.assigned.observe([this, progress = std::move(progress)](const QString& name, const QVariant& v) {
        if (name == "IsSwitching"_L1 && !v.toBool()) mayHaveEnded_ = true;
        if (name == "LastResult"_L1 && !v.toString().isEmpty()) progress(v.toString());
      });
  end_ = client.ended.observe([this] { isGone_ = true; });
  client.watch();
}

FlowWait::End FlowWait::wait(std::chrono::milliseconds limit) {
  const QDeadlineTimer deadline(limit, Qt::PreciseTimer);
  QTimer wake;  // so that the deadline is noticed
  wake.start(std::chrono::milliseconds(500));
  if (!readState()) return End::failed;
  while (state_[u"IsSwitching"_s].toBool()) {
    if (deadline.hasExpired()) return End::timedOut;
    QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    if ((isGone_ || std::exchange(mayHaveEnded_, false)) && !readState()) return End::failed;
  }
  QCoreApplication::processEvents();  // the progress that came before the state
  return End::reached;
}

bool FlowWait::readState() {
  auto read = client_.state();
  if (auto* failure = std::get_if<ZolvexClient::Failure>(&read)) {
    failure_ = *failure;
    return false;
  }
  state_ = std::get<QVariantMap>(std::move(read));
  return true;
}

}  // namespace zolvex::control
