#include "lab/ProgramRun.h"

#include "lab/SignalStatus.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QProcess>
#include <QTimer>

#include <csignal>
#include <sys/prctl.h>

namespace zolvex::lab {

ProgramRun runProgram(const ProgramCall& call) {
  ProgramRun run;
  QProcess process;
  QEventLoop loop;
  QElapsedTimer clock;
  process.setProcessEnvironment(call.environment);
  process.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
  QObject::connect(&process, &QProcess::finished, &loop, &QEventLoop::quit);
  QObject::connect(&process, &QProcess::errorOccurred, &loop, [&](QProcess::ProcessError error) {
    if (error == QProcess::FailedToStart) loop.quit();
  });
  QTimer::singleShot(call.limit, &process, [&] {
    run.timedOut = true;
    process.kill();
  });
  clock.start();
  process.start(call.program, call.arguments);
  process.write(call.input);
  process.closeWriteChannel();
  if (process.state() != QProcess::NotRunning) loop.exec();
  run.milliseconds = clock.elapsed();
  run.hasStarted = process.error() != QProcess::FailedToStart;
  run.exitStatus =
      process.exitStatus() == QProcess::CrashExit ? signalStatusBase + process.exitCode() : process.exitCode();
  run.output = process.readAllStandardOutput();
  run.error = process.readAllStandardError();
  return run;
}

}  // namespace zolvex::lab
