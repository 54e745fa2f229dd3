#pragma once

#include "lab/session/Logind.h"
#include "lab/session/Screen.h"
#include "lab/session/ScreenServices.h"
#include "lab/session/SessionAct.h"

#include <QElapsedTimer>
#include <QObject>
#include <QString>

#include <vector>

namespace zolvex::lab {

/// The session of the user at one computer: the screen, and the services that tell programs of it, logind on the
/// system bus and those of the desktop on the session bus. Acts change it as a user does. To stop and to start the
/// computer itself is left to its owner, the desktop.
class ComputerSession : public QObject {
  Q_OBJECT

 public:
  explicit ComputerSession(QString computer, LogindOptions options = {});

  /// False when a bus is not there.
  bool start(const QString& systemBus, const QString& sessionBus);
  void stop();

  /// Does the act and tells `done` its end: at once, but for sleep, which programs may hold up. An act that the state
  /// of the computer does not allow ends with the reason. `done` is dropped when the session ends before.
  void perform(SessionAct act, const ActListener& done);

  bool isAsleep() const { return logind_.sleepState() == Logind::SleepState::asleep; }
  const Screen& screen() const { return screen_; }
  Logind& logind() { return logind_; }

 Q_SIGNALS:
  /// This moment everything on the computer must stand still, or go on.
  void fellAsleep();
  void wakesUp();

  /// Something happened, as people read it: "is locked".
  void happened(const QString& what);

 private:
  QString reasonAgainst(SessionAct act) const;
  void onPreparesForSleep(const QString& heldUpBy);
  void onFellAsleep(const QString& cutShort);

  QString computer_;
  Screen screen_;
  Logind logind_;
  ScreenServices services_;
  QElapsedTimer sincePreparing_;
  std::vector<ActListener> waitForSleep_;
};

}  // namespace zolvex::lab
