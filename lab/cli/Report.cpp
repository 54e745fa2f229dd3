#include "lab/cli/Report.h"

#include <QDBusObjectPath>
#include <QRegularExpression>
#include <QTime>

#include <cstdio>

namespace zolvex::lab {

using namespace Qt::StringLiterals;

namespace {

constexpr int nameWidth = 8;
const QStringList shownProperties{u"OwnershipState"_s, u"LastResult"_s};

/// Log lines begin with the time, which stands in front of every line here anyway.
QString withoutTime(const QString& line) {
  static const QRegularExpression time(u"^\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d "_s);
  return QString(line).remove(time);
}

}  // namespace

void Report::print(const QString& who, const QString& what) {
  const auto time = QTime::currentTime().toString(u"HH:mm:ss.zzz"_s);
  std::fputs(qPrintable(u"%1 %2 %3\n"_s.arg(time, who.leftJustified(nameWidth), what)), stdout);
  std::fflush(stdout);
}

void Report::follow(World& world) {
  world_ = &world;
  connect(&world, &World::progress, this, [this](const QString& text) { print(u"lab"_s, text + u"..."_s); });
  for (const auto& desktop : world.desktops()) followDesktop(*desktop);
}

void Report::followDesktop(Desktop& desktop) {
  connect(&desktop, &Desktop::logged, this, [this, &desktop](const QString& source, const QString& text) {
    if (source == u"zolvex"_s) print(desktop.name(), u"log      "_s + withoutTime(text));
  });
  connect(&desktop, &Desktop::zolvexEnded, this, [this, &desktop](int status) {
    print(desktop.name(), u"process  Zolvex ended with status %1"_s.arg(status));
  });
  connect(&desktop.control(), &ControlClient::changed, this,
          [this, &desktop](const QString& property, const QString& value) {
            if (shownProperties.contains(property)) print(desktop.name(), u"status   %1 = %2"_s.arg(property, value));
          });
  connect(&desktop.session(), &ComputerSession::happened, this,
          [this, &desktop](const QString& what) { print(desktop.name(), u"session  "_s + what); });
  connect(&desktop.notifications(), &NotificationService::shown, this,
          [this, &desktop](const QString& title) { print(desktop.name(), u"notice   "_s + title); });
  connect(&desktop.bluez(), &BluezService::answered, this,
          [this, &desktop](const BusCall& call, const QString& error) { onAnswered(desktop, call, error); });
  connect(&desktop.bluez(), &BluezService::clientLeft, this,
          [this, &desktop](const QString& client) { onClientLeft(desktop, client); });
}

void Report::onAnswered(const Desktop& desktop, const BusCall& call, const QString& errorName) {
  auto& run = workers_[desktop.name() + u' ' + call.sender()];
  if (!run.clock.isValid()) {
    run.clock.start();
    print(desktop.name(), u"worker   %1 started"_s.arg(call.sender()));
  }
  if (!call.interface().startsWith(u"org.bluez."_s)) return;
  const auto outcome = errorName.isEmpty() ? u"ok"_s : errorName;
  print(desktop.name(),
        u"worker   %1 %2%3: %4 (%5 ms)"_s.arg(call.sender(), call.member(), subjectOf(call, world_->radio()), outcome)
            .arg(call.elapsedMilliseconds()));
}

void Report::onClientLeft(const Desktop& desktop, const QString& client) {
  const auto run = workers_.take(desktop.name() + u' ' + client);
  if (!run.clock.isValid()) return;
  print(desktop.name(), u"worker   %1 ended after %2 ms"_s.arg(client).arg(run.clock.elapsed()));
}

QString Report::subjectOf(const BusCall& call, Radio& radio) {
  const auto first = call.arguments().value(0);
  const auto path = first.canConvert<QDBusObjectPath>() ? first.value<QDBusObjectPath>().path() : call.path();
  for (const auto& address : radio.addresses())
    if (path == DeviceInterface::pathOf(address)) return u' ' + radio.device(address)->name;
  return {};
}

}  // namespace zolvex::lab
