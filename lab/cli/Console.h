#pragma once

#include "lab/cli/Report.h"

#include <QSocketNotifier>

namespace zolvex::lab {

/// Reads lines from standard input and changes a world that stays: "fault FAULT", "lift", "who". The end of the input
/// is no command.
class Console : public QObject {
 public:
  Console(World& world, Report& report);

 private:
  void readLines();
  void obey(const QString& line);
  void tellWho();

  World& world_;
  Report& report_;
  QSocketNotifier notifier_;
  QByteArray unfinished_;
};

}  // namespace zolvex::lab
