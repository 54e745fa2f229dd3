#pragma once

#include "core/Lifetime.h"
#include "core/Published.h"
#include "platform/linux/BusProperty.h"
#include "platform/linux/SessionAspect.h"

#include <QDBusMessage>
#include <QString>

#include <optional>

namespace zolvex {

class BusService;

/// What logind says of the lock of the user's session: LockedHint, which lock screens set, and the signals Lock and
/// Unlock, which only ask the lock screen to act. The session is the one that XDG_SESSION_ID names, else our own or
/// the one at which the user's display is; while there is none, the next one that begins is looked at.
/// Owned by LinuxSession. Main thread.
class LogindSession {
 public:
  /// `logind` and `locked` must outlive this.
  LogindSession(BusService& logind, SessionAspect& locked);
  LogindSession(const LogindSession&) = delete;

 private:
  void lookUp();
  void askFor(const QString& sessionId);
  void answered(const QString& sessionId, const QDBusMessage& reply);
  void follow(const QString& path);
  void sessionBegan();
  void sessionEnded(const QString& path);
  void forget();

  BusService& logind_;
  SessionAspect& locked_;
  const SessionAspect::Source source_;
  QString path_;  // empty while there is no session
  bool isAbsenceLogged_ = false;
  std::optional<BusProperty> lockedHint_;
  Subscription lockRequests_;
  Subscription unlockRequests_;
  Subscription appearance_;
  Subscription absence_;
  Subscription beginnings_;
  Subscription ends_;
  Lifetime lifetime_;
};

}  // namespace zolvex
