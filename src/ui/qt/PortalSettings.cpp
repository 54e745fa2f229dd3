#include "ui/qt/PortalSettings.h"

#include <QDBusArgument>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QMap>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

constexpr auto service = "org.freedesktop.portal.Desktop"_L1;
constexpr auto object = "/org/freedesktop/portal/desktop"_L1;
constexpr auto interface = "org.freedesktop.portal.Settings"_L1;

}  // namespace

PortalSettings::PortalSettings(QObject* parent) : QObject(parent) {}

void PortalSettings::follow(QDBusConnection bus) {
  if (!bus.isConnected()) return;
  // From any sender, because naming one would make a blocking call; the portal's path and interface are its own.
  bus.connect(QString(), object, interface, u"SettingChanged"_s, this,
              SLOT(settingChanged(QString, QString, QDBusVariant)));
  auto call = QDBusMessage::createMethodCall(service, object, interface, u"ReadAll"_s);
  call << QStringList{u"org.freedesktop.appearance"_s, u"org.gnome.desktop.interface"_s,
                      u"org.gnome.desktop.a11y.interface"_s};
  auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
    watcher->deleteLater();
    answered(watcher->reply());
  });
}

void PortalSettings::answered(const QDBusMessage& answer) {
  if (answer.type() != QDBusMessage::ReplyMessage || answer.signature() != "a{sa{sv}}"_L1) return;
  const auto groups = qdbus_cast<QMap<QString, QVariantMap>>(answer.arguments().constFirst());
  for (auto group = groups.begin(); group != groups.end(); ++group)
    for (auto setting = group->begin(); setting != group->end(); ++setting)
      Q_EMIT told(group.key(), setting.key(), setting.value());
}

void PortalSettings::settingChanged(const QString& group, const QString& key, const QDBusVariant& value) {
  Q_EMIT told(group, key, value.variant());
}

}  // namespace zolvex
