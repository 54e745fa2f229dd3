#pragma once

#include <QByteArray>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include <chrono>

namespace zolvex::lab {

struct ProgramCall {
  QString program;
  QStringList arguments = {};
  QByteArray input = {};  ///< Written to its standard input, which is then closed.
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  std::chrono::milliseconds limit{30'000};  ///< It is killed after this.
};

struct ProgramRun {
  bool hasStarted = false;
  bool timedOut = false;
  int exitStatus = -1;  ///< 128 + the signal's number when a signal ended it.
  QByteArray output = {};
  QByteArray error = {};
  qint64 milliseconds = 0;
};

/// Runs a program to its end while the event loop of this thread, and with it a world that lives here, goes on.
ProgramRun runProgram(const ProgramCall& call);

}  // namespace zolvex::lab
