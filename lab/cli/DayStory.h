#pragma once

#include "lab/cli/PlayResult.h"
#include "lab/cli/Report.h"

#include <QElapsedTimer>
#include <QMap>
#include <QObject>

#include <chrono>
#include <vector>

namespace zolvex::lab {

/// A day of a user with two computers on which automatic connect and release are on: nobody clicks anything, the
/// devices follow. The user locks Laptop and goes to Studio, comes back, takes a short break, closes Laptop, later
/// Studio, opens one and then the other. Where the devices are is counted on the radio, and how long each of their
/// moves takes: from the act that makes them free to move until all are connected at the other computer. A lock makes
/// them free only when the time has passed in which the user may come back. Owned by main().
class DayStory {
 public:
  DayStory(World& world, Report& report);

  /// The world must have been started. Faults come in after the beginning is set.
  PlayResult play(const std::vector<Fault>& faults);

 private:
  bool begin();
  bool leaveLaptopLocked();
  bool comeBackToLaptop();
  bool takeShortBreak();
  bool closeLaptop();
  bool closeStudioAndOpenLaptop();
  bool openStudio();
  bool lookAway();

  void tell(const QString& scene);
  bool act(const QString& computer, SessionAct act);
  bool moveTo(const QString& computer, std::chrono::milliseconds grace = {});
  bool stayAt(const QString& computer);
  void letTimePass(std::chrono::milliseconds time);
  void waitOutDebounce(const QString& computer);
  void waitForRest();
  bool fail(const QString& what);
  void countMoves();
  int deviceCount() const;

  World& world_;
  Report& report_;
  QObject context_;
  QString scene_;
  QElapsedTimer sinceAct_;
  QMap<QString, QElapsedTimer> sinceComing_;  // computer -> since its user came back
  QString owner_;                             // who had all devices last, on the radio
  int moves_ = 0;                             // on the radio
  std::vector<qint64> durations_;             // of the moves that the story waited for, in milliseconds
  QString failure_;
};

}  // namespace zolvex::lab
