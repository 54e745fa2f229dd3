#include "ui/qt/TrayHost.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

constexpr auto watcherService = "org.kde.StatusNotifierWatcher"_L1;
constexpr int answerLimit = 2'000;  // of the bus, in milliseconds

/// Plasma alone delivers both clicks on a status notifier that has no menu; others keep the right one, and nothing on
/// the bus tells which.
bool deliversBothClicks() {
  return qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':').contains("KDE"_L1);
}

}  // namespace

TrayHost::TrayHost(QObject* parent) : QObject(parent) {}

TrayHost::~TrayHost() = default;

void TrayHost::follow(const QDBusConnection& sessionBus) {
  statusNotifierWatch_.reset();
  hasStatusNotifierWatcher_ = false;
  isAsking_ = false;
  if (sessionBus.isConnected()) watchStatusNotifiers(sessionBus);
  look();
}

void TrayHost::watchStatusNotifiers(const QDBusConnection& sessionBus) {
  const auto take = [this](bool isThere) {
    hasStatusNotifierWatcher_ = isThere;
    look();
  };
  statusNotifierWatch_ =
      std::make_unique<QDBusServiceWatcher>(watcherService, sessionBus, QDBusServiceWatcher::WatchForOwnerChange);
  auto* const watch = statusNotifierWatch_.get();
  connect(watch, &QDBusServiceWatcher::serviceOwnerChanged, this,
          [take](const QString&, const QString&, const QString& owner) { take(!owner.isEmpty()); });
  auto call = QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                                             u"org.freedesktop.DBus"_s, u"NameHasOwner"_s);
  call << QString(watcherService);
  auto* question = new QDBusPendingCallWatcher(sessionBus.asyncCall(call, answerLimit), watch);
  isAsking_ = true;
  connect(question, &QDBusPendingCallWatcher::finished, this, [this, question, take] {
    question->deleteLater();
    const QDBusPendingReply<bool> reply = *question;
    isAsking_ = false;
    take(hasStatusNotifierWatcher_ || (!reply.isError() && reply.value()));
  });
}

void TrayHost::look() {
  if (isAsking_) return;  // a panel may be of both kinds, and the icon should not move
  const auto found = find();
  if (found == kind_) return;
  kind_ = found;
  Q_EMIT changed();
}

TrayHost::Kind TrayHost::find() {
  if (hasStatusNotifierWatcher_) return deliversBothClicks() ? Kind::bothClicks : Kind::menu;
  return embeddingTray_.isThere() ? Kind::bothClicks : Kind::none;
}

}  // namespace zolvex
