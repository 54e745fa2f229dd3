#include "platform/linux/DesktopNotificationCenter.h"

#include "core/AppIdentity.h"
#include "platform/linux/BusLink.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QMap>
#include <QStringList>
#include <QVariantMap>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

using Permissions = QMap<QString, QStringList>;

QString appId() {
  return QString::fromUtf8(zolvex::applicationId.data(), zolvex::applicationId.size());
}

QDBusMessage permissionLookup() {
  auto call = QDBusMessage::createMethodCall(u"org.freedesktop.impl.portal.PermissionStore"_s,
                                             u"/org/freedesktop/impl/portal/PermissionStore"_s,
                                             u"org.freedesktop.impl.portal.PermissionStore"_s, u"Lookup"_s);
  call << u"notifications"_s << u"notification"_s;
  return call;
}

QDBusMessage notification(const std::string& title) {
  constexpr uint replacesNothing = 0;
  constexpr int desktopDecidesExpiry = -1;
  auto call = QDBusMessage::createMethodCall(u"org.freedesktop.Notifications"_s, u"/org/freedesktop/Notifications"_s,
                                             u"org.freedesktop.Notifications"_s, u"Notify"_s);
  const QVariantMap hints{{u"sound-name"_s, u"message-new-instant"_s}, {u"desktop-entry"_s, appId()}};
  call << u"Zolvex"_s << replacesNothing << appId() << QString::fromStdString(title) << QString() << QStringList()
       << hints << desktopDecidesExpiry;
  return call;
}

bool isRefused(const QDBusMessage& reply) {
  if (reply.type() != QDBusMessage::ReplyMessage || reply.signature() != "a{sas}v"_L1) return false;
  const auto permissions = qdbus_cast<Permissions>(reply.arguments().constFirst());
  return permissions.value(appId()) == QStringList(u"no"_s);
}

}  // namespace

DesktopNotificationCenter::DesktopNotificationCenter(BusLink& sessionBus)
    : sessionBus_(sessionBus), gnomeSwitch_(sessionBus, std::string(applicationId)) {}

template <class Answer>
void DesktopNotificationCenter::whenFinished(const QDBusPendingCall& call, Answer answer) {
  auto* watcher = new QDBusPendingCallWatcher(call, this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this, [watcher, answer = std::move(answer)] {
    watcher->deleteLater();
    answer(watcher->reply());
  });
}

void DesktopNotificationCenter::getAuthorizationStatus(std::function<void(AuthorizationStatus)> answer) {
  if (!sessionBus_.isConnected()) return answer(AuthorizationStatus::authorized);
  const auto call = sessionBus_.connection().asyncCall(permissionLookup(), static_cast<int>(permissionLimit.count()));
  whenFinished(call, [this, answer = std::move(answer)](const QDBusMessage& reply) {
    if (isRefused(reply)) return answer(AuthorizationStatus::denied);
    gnomeSwitch_.ask(
        [answer](bool isOff) { answer(isOff ? AuthorizationStatus::denied : AuthorizationStatus::authorized); });
  });
}

void DesktopNotificationCenter::requestAuthorization(std::function<void(bool, const Error&)> answer) {
  answer(true, std::nullopt);
}

void DesktopNotificationCenter::post(const std::string&, const std::string& title,
                                     std::function<void(const Error&)> answer) {
  if (!sessionBus_.isConnected()) return answer("there is no session bus");
  const auto call = sessionBus_.connection().asyncCall(notification(title), static_cast<int>(answerLimit.count()));
  whenFinished(call, [answer = std::move(answer)](const QDBusMessage& reply) {
    const bool failed = reply.type() == QDBusMessage::ErrorMessage;
    answer(failed ? Error(reply.errorMessage().toStdString()) : std::nullopt);
  });
}

}  // namespace zolvex
