#include "lab/EventWait.h"
#include "lab/LabProgram.h"

#include <QDeadlineTimer>
#include <QProcess>

#include <csignal>
#include <unistd.h>

namespace zolvex::lab {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

TEST_F(LabProgram, demoMovesAllDevices) {
  const auto run = lab({u"demo"_s, u"--latency"_s, u"0"_s});
  EXPECT_EQ(run.exitStatus, 0) << run.output.toStdString();
  EXPECT_TRUE(lastLineOf(run).startsWith("demo: 3 of 3 devices moved from Laptop to Studio in "));
  EXPECT_TRUE(leftNothingBehind());
}

TEST_F(LabProgram, demoWorksForAnOrdinaryUser) {
  const auto run = labOfOrdinaryUser({u"demo"_s, u"--latency"_s, u"0"_s});
  EXPECT_EQ(run.exitStatus, 0) << run.output.toStdString() << run.error.toStdString();
  EXPECT_TRUE(lastLineOf(run).startsWith("demo: 3 of 3 devices moved"));
  EXPECT_TRUE(leftNothingBehind());
}

TEST_F(LabProgram, demoHasAdaptersOfItsOwn) {
  environment_.insert(u"ZOLVEX_ADAPTER"_s, u"00:11:22:33:44:55"_s);
  EXPECT_EQ(lab({u"demo"_s, u"--latency"_s, u"0"_s}).exitStatus, 0);
}

TEST_F(LabProgram, demoSaysWhatDiffers) {
  const auto run = lab({u"demo"_s, u"--latency"_s, u"0"_s, u"--fault"_s, u"refuses-pairing:magic mouse@studio"_s});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_TRUE(lastLineOf(run).startsWith("demo: 2 of 3 devices moved from Laptop to Studio in "));
  EXPECT_TRUE(lastLineOf(run).endsWith("; Magic Mouse is nobody's, not connected")) << lastLineOf(run).toStdString();
}

TEST_F(LabProgram, faultThatCanBefallNobodyIsMisuse) {
  const auto refusal = [this](const QString& fault) {
    const auto run = lab({u"demo"_s, u"--latency"_s, u"0"_s, u"--fault"_s, fault});
    EXPECT_EQ(run.exitStatus, 2);
    EXPECT_EQ(run.output, "");
    return run.error;
  };
  EXPECT_EQ(refusal(u"asleep:Magic Moose"_s), "zolvex-lab: --fault: there is no device \"Magic Moose\"\n");
  EXPECT_EQ(refusal(u"adapter-off@Labtop"_s), "zolvex-lab: --fault: there is no computer \"Labtop\"\n");
}

TEST_F(LabProgram, outputThatCannotBeWrittenIsAFailure) {
  for (const auto& command : {u"--help"_s, u"--list-faults"_s, u"demo --latency 0 --zolvex \"$1\""_s}) {
    const auto run = runProgram({.program = u"/bin/sh"_s,
                                 .arguments = {u"-c"_s, u"\"$0\" %1 > /dev/full"_s.arg(command),
                                               QStringLiteral(ZOLVEX_LAB_PROGRAM), QStringLiteral(ZOLVEX_PROGRAM)},
                                 .environment = environment_,
                                 .limit = limit});
    EXPECT_EQ(run.exitStatus, 1) << command.toStdString();
    EXPECT_EQ(run.error, "zolvex-lab: cannot write the output\n");
  }
}

/// A demo that is to be interrupted.
class LabInterruption : public LabProgram {
 protected:
  /// In a process group of its own, as a shell has it.
  void start(const QStringList& options = {}, void (*hangUpHandler)(int) = SIG_DFL) {
    process_.setProcessEnvironment(environment_);
    process_.setChildProcessModifier([hangUpHandler] {
      setpgid(0, 0);
      std::signal(SIGHUP, hangUpHandler);
    });
    process_.start(QStringLiteral(ZOLVEX_LAB_PROGRAM),
                   QStringList{u"demo"_s, u"--latency"_s, u"0"_s} + options + zolvex_);
    output_.clear();
    ASSERT_TRUE(process_.waitForStarted());
  }

  void waitForLine(const char* text) {
    while (!output_.contains(text) && process_.waitForReadyRead(static_cast<int>(limit.count())))
      output_ += process_.readAllStandardOutput();
  }

  /// Looks without a pause, for the moments are short.
  void waitForProcesses(int count) const {
    const QDeadlineTimer deadline(limit);
    while (processesWithMark() < count && !deadline.hasExpired()) {
    }
  }

  void signalAndWait(int signal) { sendAndWait(static_cast<pid_t>(process_.processId()), signal); }

  /// As a terminal does it: to everybody.
  void signalGroupAndWait(int signal) { sendAndWait(-static_cast<pid_t>(process_.processId()), signal); }

  void sendAndWait(pid_t receiver, int signal) {
    ::kill(receiver, signal);
    ASSERT_TRUE(process_.waitForFinished(static_cast<int>(limit.count())));
    output_ += process_.readAllStandardOutput();
  }

  std::string lastLine() const { return output_.trimmed().split('\n').last().toStdString(); }
  bool hasSucceeded() const { return process_.exitStatus() == QProcess::NormalExit && process_.exitCode() == 0; }

  QProcess process_;
  QByteArray output_;
};

TEST_F(LabInterruption, leavesNothingBehind) {
  for (const auto signal : {SIGINT, SIGTERM, SIGKILL}) {
    start();
    waitForLine("starting Zolvex");
    EXPECT_GT(processesWithMark(), 3) << output_.toStdString();
    signalAndWait(signal);
    EXPECT_EQ(process_.exitStatus() == QProcess::CrashExit, signal == SIGKILL);
    // After SIGKILL the kernel ends the rest, which nobody can wait for.
    EXPECT_TRUE(waitUntil([&] { return leftNothingBehind(); }, 5s)) << signal;
  }
}

TEST_F(LabInterruption, isNotMissedWhileTheSandboxIsEntered) {
  for (int round = 0; round < 8; ++round) {
    for (const auto processes : {1, 2, 3}) {
      start();
      waitForProcesses(processes);
      signalAndWait(round % 4 == 3 ? SIGKILL : SIGTERM);
      EXPECT_FALSE(hasSucceeded()) << processes << output_.toStdString();
      EXPECT_TRUE(waitUntil([&] { return leftNothingBehind(); }, 5s)) << processes;
    }
  }
}

TEST_F(LabInterruption, isWhatTheLastLineSays) {
  for (const auto* moment : {"building the network", "starting buses", "waiting until", "looks what it has"}) {
    start();
    waitForLine(moment);
    signalGroupAndWait(SIGINT);
    EXPECT_EQ(lastLine(), "demo: interrupted") << moment;
    EXPECT_FALSE(hasSucceeded());
  }
}

TEST_F(LabInterruption, isWhatTheLastLineSaysDuringTheSwitch) {
  start({u"--keep"_s, u"--fault"_s, u"slow"_s});
  waitForLine("Studio switches");
  signalAndWait(SIGTERM);
  EXPECT_EQ(lastLine(), "demo: interrupted");
  EXPECT_FALSE(hasSucceeded());
  EXPECT_TRUE(leftNothingBehind());
}

TEST_F(LabInterruption, byATerminalThatClosesDoesNotReachWhatNohupHasStarted) {
  start({}, SIG_IGN);
  waitForLine("starting Zolvex");
  signalGroupAndWait(SIGHUP);
  EXPECT_TRUE(hasSucceeded());
  EXPECT_TRUE(lastLine().starts_with("demo: 3 of 3 devices moved")) << lastLine();
}

}  // namespace
}  // namespace zolvex::lab
