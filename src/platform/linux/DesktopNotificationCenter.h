#pragma once

#include "platform/linux/GnomeNotificationSwitch.h"
#include "ui/NotificationCenter.h"

#include <QObject>

#include <chrono>

class QDBusPendingCall;
class QDBusPendingCallWatcher;

namespace zolvex {

class BusLink;

/// The desktop's notification service, org.freedesktop.Notifications on the session bus. Linux desktops ask nobody for
/// permission; a refusal is known where the user has switched Zolvex off in the desktop's settings and the desktop
/// has written that down in the portal's permission store, or is GNOME. Main thread; answers come there, each at most
/// once.
class DesktopNotificationCenter final : public QObject, public NotificationCenter {
  Q_OBJECT

 public:
  /// A service may first have to be started by the bus.
  static constexpr std::chrono::milliseconds answerLimit{10'000};
  static constexpr std::chrono::milliseconds permissionLimit{2'000};

  /// The link must outlive this.
  explicit DesktopNotificationCenter(BusLink& sessionBus);

  void getAuthorizationStatus(std::function<void(AuthorizationStatus)> answer) override;
  void requestAuthorization(std::function<void(bool granted, const Error& error)> answer) override;
  void post(const std::string& identifier, const std::string& title,
            std::function<void(const Error& error)> answer) override;

 private:
  template <class Answer>
  void whenFinished(const QDBusPendingCall& call, Answer answer);

  BusLink& sessionBus_;
  GnomeNotificationSwitch gnomeSwitch_;
};

}  // namespace zolvex
