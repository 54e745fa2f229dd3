#pragma once

#include "lab/Fault.h"

#include <QString>
#include <QStringList>

#include <chrono>
#include <variant>
#include <vector>

namespace zolvex::lab {

/// What zolvex-lab was asked to do.
struct Options {
  enum class Command { demo, run, exec, ctl, listFaults, help };
  enum class Story { handOver, day };

  Command command = Command::help;
  Story story = Story::handOver;
  bool keep = false;
  bool isAutomatic = false;
  QString transport = QStringLiteral("bonjour");
  std::chrono::milliseconds latency{300};
  std::vector<Fault> faults = {};
  int computers = 2;
  QString zolvex = {};  ///< Empty: beside this program, or in its build tree.

  // exec and ctl
  QString world = {};
  QString computer = {};

  QStringList program = {};  ///< Of exec.
  QString act = {};          ///< Of ctl.

  struct UsageError {
    QString text;
  };

  /// `arguments` without the program's name.
  static std::variant<Options, UsageError> parse(const QStringList& arguments);
};

/// The text of --help.
QString usageText();

/// The text of --list-faults.
QString faultListText();

}  // namespace zolvex::lab
