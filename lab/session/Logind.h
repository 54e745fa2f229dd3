#pragma once

#include "lab/bus/ServiceConnection.h"
#include "lab/session/Inhibitors.h"
#include "lab/session/Screen.h"

#include <QObject>
#include <QTimer>

#include <chrono>
#include <memory>
#include <optional>

namespace zolvex::lab {

struct LogindOptions {
  /// How long delay locks may hold up the sleep; InhibitDelayMaxSec.
  std::chrono::milliseconds inhibitDelayMax{5'000};

  /// Whether the programs of this computer were started inside the session, say in a terminal. What the user's service
  /// manager starts belongs to the user, but to no session.
  bool callersAreInSession = false;
};

/// org.freedesktop.login1 of one computer with one user and one graphical session. Sleep goes as with the real one:
/// PrepareForSleep(true) is sent, then all delay locks on sleep are waited for, but not for ever, then the computer
/// falls asleep; what that means is its owner's business. Waking ends with PrepareForSleep(false). Owned by the
/// computer's session.
class Logind : public QObject {
  Q_OBJECT

 public:
  enum class SleepState { awake, preparing, asleep };

  /// An error of the bus.
  struct Refusal {
    QString errorName;
    QString text;
  };

  explicit Logind(Screen& screen, LogindOptions options = {});
  ~Logind() override;

  /// False when the bus is not there.
  bool start(const QString& busAddress);
  void stop();

  SleepState sleepState() const { return state_; }

  /// Begins to fall asleep; fellAsleep() follows at once or later. Otherwise says why not.
  std::optional<Refusal> sleep();

  /// Ends a sleep.
  void wake();

  /// Lock() or Unlock() of the session is sent, whereupon the desktop does it and sets the locked hint.
  void askToLock(bool lock);

  /// What the desktop, or whoever calls SetLockedHint, says of the lock.
  bool isLockedHint() const { return isLockedHint_; }
  void setLockedHint(bool locked);

  // For its objects on the bus.
  const LogindOptions& options() const { return options_; }
  Inhibitors& inhibitors() { return inhibitors_; }
  quint32 userOf(const QString& client) const { return connection_->userOf(client); }
  quint32 processOf(const QString& client) const { return connection_->processOf(client); }

  static QString sessionId();
  static QString sessionPath();
  static QString userPath();

 Q_SIGNALS:
  /// Sleep has been announced; `heldUpBy` says who holds it up, or is empty.
  void preparesForSleep(const QString& heldUpBy);

  /// This moment everything must stand still. `heldUpBy` is empty unless the time limit has cut somebody short.
  void fellAsleep(const QString& heldUpBy);

  /// This moment everything must go on. PrepareForSleep(false) is sent afterwards.
  void wakesUp();

 private:
  void exportObjects();
  void onInhibitorsChanged();
  void fallAsleep();
  void announceSleep(bool begins);
  QString sleepDelayers() const;

  Screen& screen_;
  LogindOptions options_;
  Inhibitors inhibitors_;
  SleepState state_ = SleepState::awake;
  bool isLockedHint_;
  QTimer delayLimit_;
  std::unique_ptr<ServiceConnection> connection_;
};

}  // namespace zolvex::lab
