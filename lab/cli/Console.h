#pragma once

#include "lab/cli/Commands.h"
#include "lab/cli/Report.h"

#include <QSocketNotifier>

namespace zolvex::lab {

/// Reads commands from standard input, for a world that stays. The end of the input is no command.
class Console : public QObject {
 public:
  Console(Commands& commands, Report& report);

 private:
  void readLines();
  void obey(const QString& line);

  Commands& commands_;
  Report& report_;
  QSocketNotifier notifier_;
  QByteArray unfinished_;
};

}  // namespace zolvex::lab
