#include "app/RunningInstance.h"

#include "control/ControlNames.h"
#include "platform/linux/BusAddress.h"
#include "platform/linux/BusProbe.h"

#include <QDBusConnection>
#include <QDBusMessage>

#include <chrono>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

constexpr std::chrono::milliseconds callLimit{5'000};

}  // namespace

bool showRunningInstance() {
  const auto address = sessionBusAddress();
  if (!busAnswers(address)) return false;
  const auto bus = QDBusConnection::connectToBus(QString::fromStdString(address), u"zolvex-again"_s);
  auto call = QDBusMessage::createMethodCall(control::serviceName, control::objectPath, control::applicationInterface,
                                             u"Activate"_s);
  call << QVariantMap();
  call.setAutoStartService(false);
  const auto reply = bus.call(call, QDBus::Block, static_cast<int>(callLimit.count()));
  return reply.type() == QDBusMessage::ReplyMessage;
}

}  // namespace zolvex
