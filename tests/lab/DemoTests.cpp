#include "lab/EventWait.h"
#include "lab/LabProgram.h"

#include <QProcess>

#include <csignal>

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

TEST_F(LabProgram, demoSaysWhatDiffers) {
  const auto run = lab({u"demo"_s, u"--latency"_s, u"0"_s, u"--fault"_s, u"refuses-pairing:Magic Mouse@Studio"_s});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_TRUE(lastLineOf(run).startsWith("demo: 2 of 3 devices moved from Laptop to Studio in "));
  EXPECT_TRUE(lastLineOf(run).endsWith("; Magic Mouse is nobody's, not connected")) << lastLineOf(run).toStdString();
}

TEST_F(LabProgram, interruptedDemoLeavesNothingBehind) {
  for (const auto signal : {SIGINT, SIGTERM, SIGKILL}) {
    QProcess process;
    process.setProcessEnvironment(environment_);
    process.start(QStringLiteral(ZOLVEX_LAB_PROGRAM), QStringList{u"demo"_s} + zolvex_);
    QByteArray output;
    while (!output.contains("starting Zolvex") && process.waitForReadyRead(static_cast<int>(limit.count())))
      output += process.readAllStandardOutput();
    EXPECT_GT(processesWithMark(), 3) << output.toStdString();
    ::kill(static_cast<pid_t>(process.processId()), signal);
    ASSERT_TRUE(process.waitForFinished(static_cast<int>(limit.count())));
    EXPECT_EQ(process.exitStatus() == QProcess::CrashExit, signal == SIGKILL);
    // After SIGKILL the kernel ends the rest, which nobody can wait for.
    EXPECT_TRUE(waitUntil([&] { return leftNothingBehind(); }, 5s)) << signal;
  }
}

}  // namespace
}  // namespace zolvex::lab
