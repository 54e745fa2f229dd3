#include "platform/hotkey/ControlAltD.h"
#include "platform/linux/hotkey/X11HotKeys.h"
#include "platform/session/SessionWorld.h"
#include "platform/session/XvfbServer.h"

#include <QSocketNotifier>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <optional>
#include <unistd.h>
#include <xcb/xproto.h>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

/// One program that wants the hot key.
struct Program {
  Program(MainQueue& queue, const std::string& display) : hotKeys(queue, display) {
    loss = hotKeys.lost.observe([this] { ++losses; });
    hotKeys.installHandler([this](const HotKeyIdentifier& pressed) {
      EXPECT_EQ(pressed, controlAltD.identifier);
      ++presses;
    });
  }
  void ask() {
    hotKeys.registerHotKey(controlAltD, [this](const HotKeys::Outcome& answer) { outcome = answer; });
  }
  [[nodiscard]] bool getsAnswer() {
    return runUntil([this] { return outcome.has_value(); });
  }
  [[nodiscard]] bool registers() {
    ask();
    return getsAnswer() && outcome->status == HotKeys::noError;
  }
  [[nodiscard]] bool hasPresses(int count) {
    return runUntil([&] { return presses >= count; }) && presses == count;
  }

  X11HotKeys hotKeys;
  std::optional<HotKeys::Outcome> outcome;
  int presses = 0;
  int losses = 0;
  Subscription loss;
};

struct X11HotKeysTest : testing::Test {
  void SetUp() override {
    for (const auto& program : {u"Xvfb"_s, u"xdotool"_s, u"setxkbmap"_s})
      if (QStandardPaths::findExecutable(program).isEmpty()) GTEST_SKIP() << program.toStdString() << " is not there";
    ASSERT_TRUE(server.start());
    first.emplace(queue, server.display());
  }
  void run(const QString& program, const QStringList& arguments) {
    ProgramRun process(program, arguments, {{u"DISPLAY"_s, QString::fromStdString(server.display())}});
    ASSERT_EQ(process.exitStatus(), 0) << process.errors();
  }
  void press(const QString& keys) { run(u"xdotool"_s, {u"key"_s, keys}); }
  [[nodiscard]] bool logs(const std::string& line, int times = 1) {
    return runUntil([&] { return log.count(line) == times; });
  }

  LogCapture log;
  RealWorkVirtualDelays queue;
  XvfbServer server;
  std::optional<Program> first;
};

TEST_F(X11HotKeysTest, hearsTheKeyWithEveryCombinationOfTheLocks) {
  ASSERT_TRUE(first->registers());
  for (int presses = 1; const auto* lock : {"", "Num_Lock", "Caps_Lock", "Num_Lock"}) {
    if (*lock) press(QString::fromLatin1(lock));
    press(u"ctrl+alt+d"_s);
    EXPECT_TRUE(first->hasPresses(presses++)) << "after " << lock;
  }
}

TEST_F(X11HotKeysTest, hearsNoOtherKey) {
  ASSERT_TRUE(first->registers());
  for (const auto& keys : {u"d"_s, u"ctrl+d"_s, u"alt+d"_s, u"ctrl+alt+f"_s, u"ctrl+alt+shift+d"_s}) press(keys);
  press(u"ctrl+alt+d"_s);
  EXPECT_TRUE(first->hasPresses(1));
}

TEST_F(X11HotKeysTest, aKeyHeldDownIsOnePressAndOthersBesideItAreNone) {
  run(u"xset"_s, {u"r"_s, u"rate"_s, u"30"_s, u"100"_s});
  ASSERT_TRUE(first->registers());
  run(u"xdotool"_s, {u"keydown"_s, u"ctrl"_s, u"keydown"_s, u"alt"_s, u"keydown"_s, u"d"_s, u"sleep"_s, u"0.3"_s,
                     u"key"_s, u"x"_s, u"keyup"_s, u"d"_s, u"keyup"_s, u"alt"_s, u"keyup"_s, u"ctrl"_s});
  press(u"ctrl+alt+d"_s);
  EXPECT_TRUE(first->hasPresses(2));
}

TEST_F(X11HotKeysTest, aKeyThatAnotherProgramHoldsIsNotGivenAndIsFreeWhenThatEnds) {
  ASSERT_TRUE(first->registers());
  Program second(queue, server.display());
  second.ask();
  ASSERT_TRUE(second.getsAnswer());
  EXPECT_EQ(second.outcome->status, XCB_ACCESS);
  EXPECT_TRUE(second.outcome->isHeldByAnother);
  EXPECT_TRUE(log.contains("another program holds Ctrl+Alt+D"));
  first.reset();
  second.outcome.reset();
  ASSERT_TRUE(second.registers());
  press(u"ctrl+alt+d"_s);
  EXPECT_TRUE(second.hasPresses(1));
}

TEST_F(X11HotKeysTest, unregisteringFreesTheKey) {
  ASSERT_TRUE(first->registers());
  first->hotKeys.unregisterHotKey();
  Program second(queue, server.display());
  ASSERT_TRUE(second.registers());
  press(u"ctrl+alt+d"_s);
  EXPECT_TRUE(second.hasPresses(1));
  EXPECT_EQ(first->presses, 0);
}

TEST_F(X11HotKeysTest, unregisteringBeforeTheAnswerPreventsIt) {
  first->ask();
  first->hotKeys.unregisterHotKey();
  Program second(queue, server.display());
  ASSERT_TRUE(second.registers());
  EXPECT_FALSE(first->outcome);
}

TEST_F(X11HotKeysTest, withoutAHandlerAPressGoesNowhere) {
  ASSERT_TRUE(first->registers());
  first->hotKeys.removeHandler();
  press(u"ctrl+alt+d"_s);
  int presses = 0;
  first->hotKeys.installHandler([&](const HotKeyIdentifier&) { ++presses; });
  press(u"ctrl+alt+d"_s);
  EXPECT_TRUE(runUntil([&] { return presses == 1; }));
  EXPECT_EQ(first->presses, 0);
}

TEST_F(X11HotKeysTest, followsTheKeyboardLayout) {
  ASSERT_TRUE(first->registers());
  run(u"setxkbmap"_s, {u"us"_s, u"dvorak"_s});
  ASSERT_TRUE(logs("the hot key follows the new keyboard layout"));
  press(u"ctrl+alt+d"_s);
  EXPECT_TRUE(first->hasPresses(1));
  EXPECT_EQ(first->losses, 0);
}

/// Switches to the second layout of the keyboard, as its user does.
constexpr auto lockSecondLayout = R"(
import ctypes
x11 = ctypes.CDLL("libX11.so.6")
x11.XOpenDisplay.restype = ctypes.c_void_p
display = ctypes.c_void_p(x11.XOpenDisplay(None))
core_keyboard = 0x100
assert x11.XkbLockGroup(display, core_keyboard, 1) == 1
x11.XSync(display, 0)
)";

TEST_F(X11HotKeysTest, worksInTheSecondOfTwoLayouts) {
  run(u"setxkbmap"_s, {u"-layout"_s, u"us,ru"_s});
  ASSERT_TRUE(first->registers());
  run(u"/usr/bin/python3"_s, {u"-c"_s, QString::fromLatin1(lockSecondLayout)});
  const auto ansiD = u"40"_s;
  run(u"xdotool"_s,
      {u"keydown"_s, u"ctrl"_s, u"keydown"_s, u"alt"_s, u"key"_s, ansiD, u"keyup"_s, u"alt"_s, u"keyup"_s, u"ctrl"_s});
  EXPECT_TRUE(first->hasPresses(1));
}

TEST_F(X11HotKeysTest, aNewLayoutOnWhoseKeyAnotherProgramSitsLosesTheHotKey) {
  ASSERT_TRUE(first->registers());
  const auto other = X11Keyboard::open(server.display());
  constexpr std::uint8_t dvorakD = 43;
  other->grab({{dvorakD, XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1}});
  ASSERT_TRUE(runUntil([&] { return other->take().grabOutcome == 0; }));
  run(u"setxkbmap"_s, {u"us"_s, u"dvorak"_s});
  ASSERT_TRUE(runUntil([&] { return first->losses == 1; }));
  first->outcome.reset();
  first->ask();
  ASSERT_TRUE(first->getsAnswer());
  EXPECT_TRUE(first->outcome->isHeldByAnother);
}

/// A number that no server takes by itself in the meantime.
QString freeDisplay() {
  return u":%1"_s.arg(10'000 + getpid() % 40'000);
}

TEST_F(X11HotKeysTest, aServerThatEndsIsLostAndGivesTheKeyAgainWhenItIsBack) {
  XvfbServer other;
  ASSERT_TRUE(other.start(freeDisplay()));
  Program program(queue, other.display());
  ASSERT_TRUE(program.registers());
  other.stop();
  ASSERT_TRUE(logs("lost the X server " + other.display() + ", waiting for it"));
  EXPECT_EQ(program.losses, 1);
  ASSERT_TRUE(other.start(freeDisplay()));
  program.outcome.reset();
  EXPECT_TRUE(program.registers());
}

TEST_F(X11HotKeysTest, aServerThatComesLateIsWaitedFor) {
  Program program(queue, freeDisplay().toStdString());
  program.ask();
  ASSERT_TRUE(logs("no X server yet at " + freeDisplay().toStdString() + ", waiting for it"));
  XvfbServer other;
  ASSERT_TRUE(other.start(freeDisplay()));
  queue.advance(X11HotKeys::retryInterval);
  ASSERT_TRUE(program.getsAnswer());
  EXPECT_EQ(program.outcome->status, HotKeys::noError);
}

TEST_F(X11HotKeysTest, aServerThatHangsAtTheStartHoldsUpNobody) {
  const auto process = static_cast<pid_t>(server.processId());
  kill(process, SIGSTOP);
  first->ask();
  runPending();
  EXPECT_FALSE(first->outcome);
  kill(process, SIGCONT);
  EXPECT_TRUE(first->getsAnswer());
}

TEST_F(X11HotKeysTest, aServerThatHangsLaterIsLoggedOnceAndHoldsUpNobody) {
  const auto line = "the X server " + server.display() + " does not answer";
  log.expectError(line);
  ASSERT_TRUE(first->registers());
  const auto process = static_cast<pid_t>(server.processId());
  // Outside of the event loop, so that the news is heard only when the server hangs.
  ASSERT_EQ(std::system(("DISPLAY=" + server.display() + " setxkbmap us dvorak").c_str()), 0);
  kill(process, SIGSTOP);
  ASSERT_TRUE(runUntil([&] {
    queue.advance(X11HotKeys::answerLimit);
    return log.contains(line);
  }));
  queue.advance(X11HotKeys::answerLimit);
  EXPECT_EQ(log.count(line), 1);
  kill(process, SIGCONT);
  EXPECT_TRUE(logs("the X server " + server.display() + " answers again"));
  ASSERT_TRUE(logs("the hot key follows the new keyboard layout"));
  press(u"ctrl+alt+d"_s);
  EXPECT_TRUE(first->hasPresses(1));
}

TEST_F(X11HotKeysTest, mayEndWhileItConnects) {
  for (int i = 0; i < 20; ++i) {
    Program program(queue, server.display());
    program.ask();
  }
  runPending();
}

TEST(X11HotKeysWithoutServerTest, theAbsenceIsLoggedOnceAndTriedAgain) {
  LogCapture log;
  RealWorkVirtualDelays queue;
  Program program(queue, ":9999");
  program.ask();
  const std::string line = "no X server yet at :9999, waiting for it";
  ASSERT_TRUE(runUntil([&] { return log.contains(line); }));
  for (int i = 0; i < 3; ++i) queue.advance(X11HotKeys::retryInterval);
  EXPECT_EQ(log.count(line), 1);
  EXPECT_FALSE(program.outcome);
}

}  // namespace
}  // namespace zolvex::test
