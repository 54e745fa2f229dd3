#include "lab/EventWait.h"
#include "lab/ProgramRun.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QUuid>
#include <gtest/gtest.h>

#include <csignal>
#include <unistd.h>

namespace zolvex::lab {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

constexpr std::chrono::milliseconds limit = 90s;
constexpr int ordinaryUser = 65534;
constexpr auto openToAll =
    QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadOther | QFile::WriteOther | QFile::ExeOther;

/// Runs zolvex-lab with a mark in its environment and an empty directory for temporary files, so that whatever it
/// leaves behind can be found.
class LabProgram : public testing::Test {
 protected:
  void SetUp() override {
    if (QProcess::execute(u"unshare"_s, {u"-Urnm"_s, u"true"_s}) != 0) GTEST_SKIP() << "no namespaces can be made here";
    QFile::setPermissions(directory_.path(), openToAll);
    environment_.insert(u"ZOLVEX_LAB_TEST"_s, mark_);
    environment_.insert(u"TMPDIR"_s, directory_.path());
  }

  ProgramRun lab(const QStringList& arguments) {
    return runProgram({.program = QStringLiteral(ZOLVEX_LAB_PROGRAM),
                       .arguments = arguments + zolvex_,
                       .environment = environment_,
                       .limit = limit});
  }

  ProgramRun labOfOrdinaryUser(const QStringList& arguments) {
    environment_.insert(u"PATH"_s, u"/usr/bin:/bin"_s);
    if (geteuid() != 0) return lab(arguments);
    const auto number = QString::number(ordinaryUser);
    return runProgram({.program = u"setpriv"_s,
                       .arguments = QStringList{u"--reuid="_s + number, u"--regid="_s + number, u"--clear-groups"_s,
                                                QStringLiteral(ZOLVEX_LAB_PROGRAM)} +
                                    arguments + zolvex_,
                       .environment = environment_,
                       .limit = limit});
  }

  bool leftNothingBehind() const {
    return QDir(directory_.path()).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot) &&
           processesWithMark() == 0;
  }

  int processesWithMark() const {
    int count = 0;
    for (const auto& process : QDir(u"/proc"_s).entryList(QDir::Dirs)) {
      QFile file(u"/proc/%1/environ"_s.arg(process));
      if (file.open(QIODevice::ReadOnly) && file.readAll().contains(mark_.toUtf8())) ++count;
    }
    return count;
  }

  static QByteArray lastLineOf(const ProgramRun& run) { return run.output.trimmed().split('\n').last(); }

  QStringList zolvex_{u"--zolvex"_s, QStringLiteral(ZOLVEX_PROGRAM)};
  QString mark_ = QUuid::createUuid().toString();
  QTemporaryDir directory_;
  QProcessEnvironment environment_ = QProcessEnvironment::systemEnvironment();
};

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
