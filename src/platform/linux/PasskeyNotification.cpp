#include "platform/linux/PasskeyNotification.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QFile>
#include <QStringList>
#include <QVariantMap>

#include <thread>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

/// Without a bus of the session the message library would try to start one.
bool hasSessionBus() {
  return qEnvironmentVariableIsSet("DBUS_SESSION_BUS_ADDRESS") ||
         QFile::exists(qEnvironmentVariable("XDG_RUNTIME_DIR") + u"/bus"_s);
}

void notify(const QString& title, const QString& text) {
  const auto connection = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"zolvex-passkey"_s);
  const auto service = u"org.freedesktop.Notifications"_s;
  auto call = QDBusMessage::createMethodCall(service, u"/org/freedesktop/Notifications"_s, service, u"Notify"_s);
  constexpr uint replacesNothing = 0;
  constexpr int usualTime = -1;
  call.setArguments({u"Zolvex"_s, replacesNothing, QString(), title, text, QStringList(), QVariantMap(), usualTime});
  connection.send(call);
}

}  // namespace

void showPasskeyNotification(const QString& deviceName, const QString& passkey) {
  if (!hasSessionBus()) return;
  const auto title = u"Pairing %1"_s.arg(deviceName);
  const auto text = u"Type %1 on the device, then press Return."_s.arg(passkey);
  std::thread([title, text] { notify(title, text); }).detach();
}

}  // namespace zolvex
