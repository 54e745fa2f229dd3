#include "core/SettingsKeys.h"
#include "support/FakeHotKeys.h"
#include "support/World.h"
#include "ui/GlobalHotKey.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

namespace zolvex::test {
namespace {

using Calls = std::vector<std::string>;

const Calls registration{"install handler", "register"};
const std::string registered = "Global hotkey registered";

struct GlobalHotKeyTest : testing::Test {
  void SetUp() override {
    world.defaults.registerDefaults({{std::string(settings::globalHotkeyEnabled), true}});
    hotKey.emplace(GlobalHotKey::Collaborators{world.time, world.defaults, hotKeys, world.manager()});
    states = hotKey->observeState([this](const HotKeyState& state) { shown.push_back(state); });
  }
  void enable(bool isEnabled) { world.defaults.set(settings::globalHotkeyEnabled, isEnabled); }
  void changeAnotherSetting() { world.defaults.set(settings::autoReleaseHours, 8.0); }
  Calls takeCalls() { return std::exchange(hotKeys.calls, {}); }
  int registrations() const {
    return static_cast<int>(std::count(hotKeys.calls.begin(), hotKeys.calls.end(), "register"));
  }

  World world{noDevices, false};
  FakeHotKeys hotKeys;
  std::optional<GlobalHotKey> hotKey;
  std::vector<HotKeyState> shown;
  Subscription states;
};

TEST_F(GlobalHotKeyTest, isRegisteredAtTheStart) {
  hotKey->start();
  EXPECT_EQ(takeCalls(), registration);
  EXPECT_TRUE(world.log.contains(registered));
  EXPECT_EQ(hotKey->state(), HotKeyState::registered);
}

TEST_F(GlobalHotKeyTest, isControlOptionD) {
  hotKey->start();
  EXPECT_EQ(hotKeys.hotKey().identifier, (HotKeyIdentifier{"ZLVX", 1}));
  EXPECT_EQ(hotKeys.hotKey().key, 'd');
  EXPECT_TRUE(hotKeys.hotKey().withControl);
  EXPECT_TRUE(hotKeys.hotKey().withAlt);
}

TEST_F(GlobalHotKeyTest, switchedOffAtTheStartItInstallsNothing) {
  enable(false);
  hotKey->start();
  changeAnotherSetting();
  EXPECT_TRUE(hotKeys.calls.empty());
  EXPECT_EQ(hotKey->state(), HotKeyState::off);
  EXPECT_TRUE(shown.empty());
}

TEST_F(GlobalHotKeyTest, switchedOnLaterItIsRegisteredOnceHoweverManyChangesFollow) {
  enable(false);
  hotKey->start();
  enable(true);
  enable(true);
  changeAnotherSetting();
  EXPECT_EQ(takeCalls(), registration);
  EXPECT_EQ(world.log.count(registered), 1);
}

TEST_F(GlobalHotKeyTest, aChangeWhileTheDesktopStillDecidesAsksForNothingMore) {
  hotKeys.answersLate = true;
  hotKey->start();
  changeAnotherSetting();
  EXPECT_EQ(hotKey->state(), HotKeyState::waiting);
  hotKeys.answer();
  EXPECT_EQ(takeCalls(), registration);
  EXPECT_EQ(hotKey->state(), HotKeyState::registered);
}

TEST_F(GlobalHotKeyTest, aSecondAnswerIsIgnored) {
  hotKey->start();
  hotKeys.outcome.status = 10;
  hotKeys.answer();
  EXPECT_EQ(hotKey->state(), HotKeyState::registered);
}

TEST_F(GlobalHotKeyTest, switchedOffAndOnItIsRegisteredAnew) {
  hotKey->start();
  takeCalls();
  enable(false);
  EXPECT_EQ(takeCalls(), (Calls{"unregister", "remove handler"}));
  EXPECT_EQ(hotKey->state(), HotKeyState::off);
  enable(true);
  EXPECT_EQ(takeCalls(), registration);
  EXPECT_EQ(world.log.count(registered), 2);
}

TEST_F(GlobalHotKeyTest, switchedOffWhileTheDesktopDecidesItGivesUpAndALateAnswerIsIgnored) {
  hotKeys.answersLate = true;
  hotKey->start();
  takeCalls();
  enable(false);
  EXPECT_EQ(takeCalls(), (Calls{"unregister", "remove handler"}));
  hotKeys.answer();
  EXPECT_EQ(hotKey->state(), HotKeyState::off);
  EXPECT_FALSE(world.log.contains(registered));
}

TEST_F(GlobalHotKeyTest, aHandlerThatCannotBeInstalledIsLoggedAndNothingIsRegistered) {
  world.log.expectError("Global hotkey handler failed: -50");
  hotKeys.handlerStatus = -50;
  hotKey->start();
  EXPECT_EQ(takeCalls(), Calls{"install handler"});
  EXPECT_EQ(hotKey->state(), HotKeyState::refused);
  hotKeys.handlerStatus = HotKeys::noError;
  changeAnotherSetting();
  EXPECT_EQ(takeCalls(), registration);
}

TEST_F(GlobalHotKeyTest, aHotKeyThatAnotherProgramHoldsIsLoggedAndTriedAtEachLaterChange) {
  world.log.expectError("Global hotkey registration failed: 10");
  hotKeys.outcome = {10, true};
  hotKey->start();
  EXPECT_EQ(takeCalls(), (Calls{"install handler", "register", "remove handler"}));
  EXPECT_EQ(hotKey->state(), HotKeyState::heldByAnother);
  changeAnotherSetting();
  EXPECT_EQ(world.log.count("Global hotkey registration failed: 10"), 2);
  hotKeys.outcome = {};
  changeAnotherSetting();
  changeAnotherSetting();
  EXPECT_EQ(registrations(), 2);
  EXPECT_EQ(hotKey->state(), HotKeyState::registered);
}

TEST_F(GlobalHotKeyTest, timeAloneTriesNothingAgain) {
  world.log.expectError("Global hotkey registration failed: 10");
  hotKeys.outcome = {10, true};
  hotKey->start();
  world.advance(std::chrono::hours(1));
  EXPECT_EQ(registrations(), 1);
}

TEST_F(GlobalHotKeyTest, whatAnAttemptCameToIsShownUntilTheNextHasEnded) {
  world.log.expectError("Global hotkey registration failed: 2");
  hotKeys.outcome.status = 2;
  hotKey->start();
  hotKeys.answersLate = true;
  changeAnotherSetting();
  EXPECT_EQ(hotKey->state(), HotKeyState::refused);
  EXPECT_EQ(shown, (std::vector{HotKeyState::waiting, HotKeyState::refused}));
}

TEST_F(GlobalHotKeyTest, switchedOffAfterAFailureItLetsTheDesktopForgetIt) {
  world.log.expectError("Global hotkey registration failed: 1");
  hotKeys.outcome.status = 1;
  hotKey->start();
  takeCalls();
  enable(false);
  EXPECT_EQ(takeCalls(), Calls{"unregister"});
  EXPECT_EQ(hotKey->state(), HotKeyState::off);
}

TEST_F(GlobalHotKeyTest, lostByTheDesktopItIsRegisteredAgain) {
  hotKey->start();
  takeCalls();
  hotKeys.answersLate = true;
  hotKeys.lost.emit();
  EXPECT_EQ(takeCalls(), (Calls{"remove handler", "install handler", "register"}));
  EXPECT_EQ(hotKey->state(), HotKeyState::waiting);
  hotKeys.answer();
  EXPECT_EQ(hotKey->state(), HotKeyState::registered);
}

TEST_F(GlobalHotKeyTest, aLossOfWhatIsNotRegisteredChangesNothing) {
  enable(false);
  hotKey->start();
  hotKeys.lost.emit();
  EXPECT_TRUE(hotKeys.calls.empty());
}

TEST_F(GlobalHotKeyTest, aPressShowsThePopoverAndThenTakesTheDevices) {
  std::string textWhenShown = "not shown";
  const auto popover = hotKey->popoverRequested.observe([&] { textWhenShown = world.manager().lastResult(); });
  hotKey->start();
  hotKeys.press();
  EXPECT_EQ(textWhenShown, "not shown") << "not before the main queue's next turn";
  world.runUntilIdle();
  EXPECT_EQ(textWhenShown, "");
  EXPECT_EQ(world.manager().lastResult(), "No devices configured");
}

TEST_F(GlobalHotKeyTest, aPressWithoutAPopoverTakesTheDevicesAllTheSame) {
  hotKey->start();
  hotKeys.press();
  world.runUntilIdle();
  EXPECT_EQ(world.manager().lastResult(), "No devices configured");
}

TEST_F(GlobalHotKeyTest, anEventWithAnotherIdentifierDoesNothing) {
  int popovers = 0;
  const auto popover = hotKey->popoverRequested.observe([&] { ++popovers; });
  hotKey->start();
  hotKeys.press({"ZLVX", 2});
  hotKeys.press({"ZLV", 1});
  hotKeys.press({"", 1});
  world.runUntilIdle();
  EXPECT_EQ(popovers, 0);
  EXPECT_EQ(world.manager().lastResult(), "");
}

TEST_F(GlobalHotKeyTest, anEndInTheMiddleOfAPressIsHarmless) {
  hotKey->start();
  hotKeys.press();
  hotKey.reset();
  world.runUntilIdle();
  EXPECT_EQ(world.manager().lastResult(), "");
}

TEST_F(GlobalHotKeyTest, theEndUnregistersThenRemovesTheHandlerAndObservesNoMore) {
  hotKey->start();
  takeCalls();
  hotKey->stop();
  EXPECT_EQ(takeCalls(), (Calls{"unregister", "remove handler"}));
  changeAnotherSetting();
  hotKeys.lost.emit();
  hotKey.reset();
  EXPECT_TRUE(hotKeys.calls.empty());
}

TEST_F(GlobalHotKeyTest, anAnswerAfterTheEndIsIgnored) {
  hotKeys.answersLate = true;
  hotKey->start();
  hotKey.reset();
  hotKeys.answer();
  EXPECT_FALSE(world.log.contains(registered));
}

TEST(HotKeyStateTest, onlyWhatKeepsItFromWorkingIsAProblem) {
  EXPECT_EQ(problemOf(HotKeyState::off), "");
  EXPECT_EQ(problemOf(HotKeyState::registered), "");
  EXPECT_EQ(problemOf(HotKeyState::waiting), "Waiting for the desktop to allow this shortcut.");
  EXPECT_EQ(problemOf(HotKeyState::heldByAnother), "Another program uses this shortcut.");
  EXPECT_EQ(problemOf(HotKeyState::refused), "The desktop does not allow this shortcut.");
}

}  // namespace
}  // namespace zolvex::test
