#include "lab/EventWait.h"
#include "lab/LabProgram.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>

namespace zolvex::lab {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// A world that stays, and the commands that act on it from outside.
class LabControl : public LabProgram {
 protected:
  void SetUp() override {
    LabProgram::SetUp();
    if (IsSkipped()) return;
    world_.setProcessEnvironment(environment_);
    world_.setProcessChannelMode(QProcess::MergedChannels);
    world_.start(QStringLiteral(ZOLVEX_LAB_PROGRAM), QStringList{u"run"_s} + zolvex_);
    ASSERT_TRUE(prints(u"The world stays"_s)) << output_.toStdString();
    static const QRegularExpression number(u"--world (\\d+)"_s);
    ASSERT_TRUE(prints(u"--world"_s));
    process_ = number.match(output_).captured(1);
  }

  void TearDown() override {
    world_.terminate();
    if (world_.state() != QProcess::NotRunning) world_.waitForFinished(static_cast<int>(limit.count()));
    if (HasFailure()) std::printf("%s\n", qPrintable(output_));
  }

  /// The world has printed it, or does so within the limit.
  bool prints(const QString& text) {
    return waitUntil(
        [&] {
          output_ += QString::fromUtf8(world_.readAll());
          return output_.contains(text);
        },
        limit);
  }

  ProgramRun ctl(const QStringList& arguments) const {
    return runProgram({.program = QStringLiteral(ZOLVEX_LAB_PROGRAM),
                       .arguments = QStringList{u"ctl"_s, u"--world"_s, process_} + arguments,
                       .environment = environment_,
                       .limit = limit});
  }

  QStringList execArguments(const QString& computer, const QStringList& program) const {
    return QStringList{u"exec"_s, u"--world"_s, process_, computer, u"--"_s} + program;
  }

  std::string done(const QString& computer, const QString& act) const {
    const auto run = ctl({computer, act});
    EXPECT_EQ(run.exitStatus, 0) << run.error.toStdString();
    return run.output.trimmed().toStdString();
  }

  std::string refused(const QString& computer, const QString& act) const {
    const auto run = ctl({computer, act});
    EXPECT_EQ(run.exitStatus, 1) << run.output.toStdString();
    return run.error.trimmed().toStdString();
  }

  QProcess world_;
  QString output_;
  QString process_;
};

TEST_F(LabControl, actsAreDoneOnTheComputerNamed) {
  EXPECT_EQ(done(u"Laptop"_s, u"lock"_s), "Laptop is locked");
  EXPECT_EQ(refused(u"laptop"_s, u"lock"_s), "zolvex-lab: Laptop is locked already");
  EXPECT_EQ(done(u"Studio"_s, u"display-off"_s), "Studio has its display off");
  EXPECT_EQ(done(u"Studio"_s, u"display-on"_s), "Studio has its display on");
  EXPECT_EQ(done(u"Laptop"_s, u"unlock"_s), "Laptop is unlocked");
  EXPECT_EQ(refused(u"Cellar"_s, u"lock"_s), "zolvex-lab: there is no computer \"Cellar\"");
  EXPECT_TRUE(prints(u"Laptop   session  is unlocked"_s));
}

TEST_F(LabControl, sleepIsWaitedForAndEndsWithAWake) {
  EXPECT_TRUE(done(u"Laptop"_s, u"sleep"_s).starts_with("Laptop is asleep after "));
  EXPECT_EQ(refused(u"Laptop"_s, u"sleep"_s), "zolvex-lab: Laptop is asleep already");
  EXPECT_EQ(refused(u"Laptop"_s, u"unlock"_s), "zolvex-lab: Laptop is asleep");
  EXPECT_EQ(done(u"Laptop"_s, u"wake"_s), "Laptop is awake");
  EXPECT_EQ(refused(u"Laptop"_s, u"wake"_s), "zolvex-lab: Laptop is not asleep");
}

TEST_F(LabControl, sleepingWorldEndsInOrder) {
  done(u"Laptop"_s, u"sleep"_s);
  world_.terminate();
  ASSERT_TRUE(world_.waitForFinished(static_cast<int>(limit.count())));
  output_ += QString::fromUtf8(world_.readAll());
  EXPECT_EQ(world_.exitStatus(), QProcess::NormalExit);
  EXPECT_EQ(output_.count(u"Zolvex ended with status 0"_s), 2) << output_.toStdString();
  EXPECT_TRUE(leftNothingBehind());
}

TEST_F(LabControl, worldThatIsNotThereIsNamed) {
  process_ = u"4194304"_s;
  EXPECT_EQ(refused(u"Laptop"_s, u"lock"_s),
            "zolvex-lab: the world of process 4194304 takes no commands: No such file or directory");
}

TEST_F(LabControl, programsRunOnTheComputerNamed) {
  const auto exec = [this](const QString& computer) {
    return runProgram({.program = QStringLiteral(ZOLVEX_LAB_PROGRAM),
                       .arguments = execArguments(computer, {u"sh"_s, u"-c"_s, u"hostname; exit 7"_s}),
                       .environment = environment_,
                       .limit = limit});
  };
  for (const auto& computer : {u"Laptop"_s, u"laptop"_s}) {
    const auto run = exec(computer);
    EXPECT_EQ(run.exitStatus, 7) << run.error.toStdString();
    EXPECT_EQ(run.output, "laptop\n");
  }
  const auto refusal = exec(u"Cellar"_s);
  EXPECT_EQ(refusal.exitStatus, 1);
  EXPECT_EQ(refusal.error, "zolvex-lab: there is no computer \"Cellar\" in that world\n");
}

TEST_F(LabControl, programThatRunsOnAComputerEndsWithWhatStartedIt) {
  QProcess exec;
  exec.setProcessEnvironment(environment_);
  exec.start(QStringLiteral(ZOLVEX_LAB_PROGRAM),
             execArguments(u"Laptop"_s, {u"sh"_s, u"-c"_s,
                                         u"trap 'echo told; exit 9' TERM; echo here; while :; do sleep 0.02; done"_s}));
  QByteArray output;
  const auto says = [&](const char* text) {
    return waitUntil([&] { return (output += exec.readAllStandardOutput()).contains(text); }, limit);
  };
  ASSERT_TRUE(says("here"));
  exec.terminate();
  EXPECT_TRUE(says("told"));
  ASSERT_TRUE(waitUntil([&] { return exec.state() == QProcess::NotRunning; }, limit));
  EXPECT_EQ(exec.exitCode(), 9);
}

TEST_F(LabControl, consoleTakesTheSameActs) {
  world_.write("sleep Laptop\nlock Laptop\nwake Laptop\nlock Attic\nwho\n");
  EXPECT_TRUE(prints(u"Laptop   session  is asleep after"_s));
  EXPECT_TRUE(prints(u"lab      Magic Mouse: Laptop, "_s));
  EXPECT_TRUE(prints(u"lab      there is no computer \"Attic\""_s));
}

TEST_F(LabControl, consoleTakesFaultsOfThoseWhoAreThere) {
  world_.write("fault asleep:Magic Moose\nfault adapter-off@Labtop\nfault asleep:magic mouse\nwho\n");
  EXPECT_TRUE(prints(u"lab      there is no device \"Magic Moose\""_s));
  EXPECT_TRUE(prints(u"lab      there is no computer \"Labtop\""_s));
  EXPECT_TRUE(prints(u"lab      Magic Mouse: Laptop, not connected"_s));
}

/// As they are printed, wherever the programs are.
TEST_F(LabProgram, commandsThatAWorldNamesCanBePasted) {
  QDir place(directory_.filePath(u"somebody's lab"_s));
  const auto program = place.filePath(u"zolvex-lab"_s);
  ASSERT_TRUE(place.mkpath(u"."_s) && QFile::copy(QStringLiteral(ZOLVEX_LAB_PROGRAM), program));
  const auto script =
      uR"sh(: > "$TMPDIR/log"
"$0" run --zolvex "$1" > "$TMPDIR/log" < /dev/null & world=$!
until grep -q 'Laptop lock' "$TMPDIR/log"; do kill -0 $world || exit 1; sleep 0.05; done
sh -c "$(grep -m 1 'Laptop lock' "$TMPDIR/log")"
sh -c "$(grep -m 1 'Laptop -- .*status' "$TMPDIR/log")" | sed -n 's,^Transport: *,,p'
kill $world; wait $world; rm "$TMPDIR/log")sh"_s;
  const auto run = runProgram({.program = u"sh"_s,
                               .arguments = {u"-c"_s, script, program, QStringLiteral(ZOLVEX_PROGRAM)},
                               .environment = environment_,
                               .limit = limit});
  EXPECT_EQ(run.output, "Laptop is locked\nbonjour\n") << run.error.toStdString();
  place.removeRecursively();
  EXPECT_TRUE(leftNothingBehind());
}

/// In a process namespace of its own, where no other world is to be seen.
TEST_F(LabProgram, onlyWorldThatRunsNeedsNoName) {
  const QStringList alone{u"-Urpf"_s, u"--mount-proc"_s};
  if (QProcess::execute(u"unshare"_s, alone + QStringList{u"true"_s}) != 0) GTEST_SKIP() << "/proc cannot be mounted";
  const auto script =
      uR"sh("$0" ctl Laptop lock
: > "$TMPDIR/log"
"$0" run --zolvex "$1" > "$TMPDIR/log" < /dev/null & world=$!
until grep -q 'The world stays' "$TMPDIR/log"; do kill -0 $world || exit 1; sleep 0.05; done
"$0" ctl Laptop lock
kill $world; wait $world; rm "$TMPDIR/log")sh"_s;
  const QStringList command{u"sh"_s, u"-c"_s, script, QStringLiteral(ZOLVEX_LAB_PROGRAM),
                            QStringLiteral(ZOLVEX_PROGRAM)};
  const auto run =
      runProgram({.program = u"unshare"_s, .arguments = alone + command, .environment = environment_, .limit = limit});
  EXPECT_EQ(run.output, "Laptop is locked\n");
  EXPECT_EQ(run.error, "zolvex-lab: no world is running; \"zolvex-lab run\" makes one\n");
  EXPECT_TRUE(leftNothingBehind());
}

}  // namespace
}  // namespace zolvex::lab
