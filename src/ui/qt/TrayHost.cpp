#include "ui/qt/TrayHost.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QGuiApplication>
#include <QtGui/qguiapplication_platform.h>

#include <cstdlib>
#include <memory>
#include <string_view>
#include <xcb/xcb.h>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

constexpr auto watcherService = "org.kde.StatusNotifierWatcher"_L1;
constexpr std::string_view trayAtomName = "_NET_SYSTEM_TRAY_S0";
constexpr int answerLimit = 2'000;  // of the bus, in milliseconds

template <class Reply>
using XcbReply = std::unique_ptr<Reply, decltype([](Reply* reply) { std::free(reply); })>;

/// Whether a panel of the old kind is there, which embeds windows of an X server.
bool hasEmbeddingTray() {
  const auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  auto* const connection = x11 ? x11->connection() : nullptr;
  if (!connection) return false;
  const XcbReply<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(
      connection, xcb_intern_atom(connection, 0, trayAtomName.size(), trayAtomName.data()), nullptr));
  if (!atom) return false;
  const XcbReply<xcb_get_selection_owner_reply_t> owner(
      xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, atom->atom), nullptr));
  return owner && owner->owner != XCB_NONE;
}

/// Plasma alone delivers both clicks on a status notifier that has no menu; others keep the right one, and nothing on
/// the bus tells which.
bool deliversBothClicks() {
  return qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':').contains("KDE"_L1);
}

}  // namespace

TrayHost::TrayHost(QObject* parent) : QObject(parent) {}

void TrayHost::start() {
  watchStatusNotifiers();
  look();
}

void TrayHost::watchStatusNotifiers() {
  auto bus = QDBusConnection::sessionBus();
  if (!bus.isConnected()) return;
  const auto take = [this](bool isThere) {
    hasStatusNotifierWatcher_ = isThere;
    look();
  };
  auto* watcher = new QDBusServiceWatcher(watcherService, bus, QDBusServiceWatcher::WatchForOwnerChange, this);
  connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
          [take](const QString&, const QString&, const QString& owner) { take(!owner.isEmpty()); });
  auto call = QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                                             u"org.freedesktop.DBus"_s, u"NameHasOwner"_s);
  call << QString(watcherService);
  auto* question = new QDBusPendingCallWatcher(bus.asyncCall(call, answerLimit), this);
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

TrayHost::Kind TrayHost::find() const {
  if (hasStatusNotifierWatcher_) return deliversBothClicks() ? Kind::bothClicks : Kind::menu;
  return hasEmbeddingTray() ? Kind::bothClicks : Kind::none;
}

}  // namespace zolvex
