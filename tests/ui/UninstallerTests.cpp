#include "core/SettingsKeys.h"
#include "support/FakeLaunchAtLogin.h"
#include "support/LogCapture.h"
#include "support/MemoryUserDefaults.h"
#include "support/VirtualTime.h"
#include "ui/Uninstaller.h"

#include <gtest/gtest.h>

#include <optional>

namespace zolvex::test {
namespace {

using Steps = std::vector<std::string>;

/// A computer that notes what is taken from it, in order.
class FakeComputer final : public UninstallSystem, public NotificationCenter {
 public:
  std::optional<std::string> identifier = "quenmar.zolvex.app";
  Failure stateFailure;
  Recycled result;
  bool recyclesLate = false;
  bool tellsLate = false;
  Steps steps;

  std::optional<std::string> bundleIdentifier() const override { return identifier; }
  Failure removeState(const std::string& of) override {
    steps.push_back("state of " + of);
    return stateFailure;
  }
  void resetPermissions(const std::string& of) override { steps.push_back("permissions of " + of); }
  void recycle(std::function<void(const Recycled&)> done) override {
    steps.emplace_back("recycle");
    done_ = std::move(done);
    if (!recyclesLate) finishRecycling();
  }
  void terminate() override { steps.emplace_back("terminate"); }
  void finishRecycling() const { done_(result); }

  void getAuthorizationStatus(std::function<void(AuthorizationStatus)>) override {}
  void requestAuthorization(std::function<void(bool, const Error&)>) override {}
  void post(const std::string&, const std::string& title, std::function<void(const Error&)> answer) override {
    steps.push_back("tell: " + title);
    told_ = std::move(answer);
    if (!tellsLate) finishTelling();
  }
  void finishTelling() const { told_(std::nullopt); }

 private:
  std::function<void(const Recycled&)> done_;
  std::function<void(const Error&)> told_;
};

struct UninstallerTest : testing::Test {
  UninstallerTest() {
    launchAtLogin.isEnabled = true;
    defaults.set(settings::managedDeviceAddresses, StringArray{"A1"});
    defaults.set(settings::networkDevices, std::string("[]"));
    settingsChange = defaults.changed.observe([this] { computer.steps.emplace_back("settings"); });
    uninstaller.emplace(Uninstaller::Collaborators{time, launchAtLogin, defaults, computer, computer});
  }
  void uninstall() {
    uninstaller->uninstall();
    time.runUntilIdle();
  }
  bool hasSettings() const {
    return defaults.stored(settings::managedDeviceAddresses) || defaults.stored(settings::networkDevices);
  }

  const Steps allSteps{"settings", "state of quenmar.zolvex.app", "permissions of quenmar.zolvex.app", "recycle",
                       "terminate"};
  LogCapture log;
  VirtualTime time;
  FakeLaunchAtLogin launchAtLogin;
  MemoryUserDefaults defaults;
  FakeComputer computer;
  Subscription settingsChange;
  std::optional<Uninstaller> uninstaller;
};

TEST_F(UninstallerTest, takesEverythingAwayInItsOrderAndQuits) {
  uninstall();
  EXPECT_FALSE(launchAtLogin.isEnabled);
  EXPECT_FALSE(hasSettings());
  EXPECT_EQ(computer.steps, allSteps);
  EXPECT_EQ(log.lines(), (Steps{"Uninstall: starting", "Uninstall: launch at login done", "Uninstall: settings done",
                                "Uninstall: state done", "Uninstall: application done"}));
}

TEST_F(UninstallerTest, launchAtLoginGoesFirst) {
  settingsChange = defaults.changed.observe([this] { EXPECT_FALSE(launchAtLogin.isEnabled); });
  uninstall();
}

TEST_F(UninstallerTest, anApplicationWithoutAnIdentifierHasTheUsualOne) {
  computer.identifier = std::nullopt;
  uninstall();
  EXPECT_EQ(computer.steps[1], "state of quenmar.zolvex.app.macos");
  EXPECT_EQ(computer.steps[2], "permissions of quenmar.zolvex.app.macos");
}

TEST_F(UninstallerTest, noFailureStopsTheLaterSteps) {
  log.expectError("Uninstall: launch at login failed: the unit is masked");
  log.expectError("Uninstall: settings failed: no space");
  log.expectError("Uninstall: state failed: cannot remove a folder");
  log.expectError("Uninstall: application failed: no trash");
  launchAtLogin.failure = "the unit is masked";
  defaults.problem = "no space";
  computer.stateFailure = "cannot remove a folder";
  computer.result.failure = "no trash";
  uninstall();
  EXPECT_EQ(computer.steps, allSteps);
  EXPECT_FALSE(hasSettings());
}

TEST_F(UninstallerTest, quitsOnlyWhenTheApplicationIsInTheTrash) {
  computer.recyclesLate = true;
  uninstall();
  time.advance(Uninstaller::recycleLimit - Seconds(0.1));
  EXPECT_EQ(computer.steps.back(), "recycle");
  computer.finishRecycling();
  EXPECT_EQ(computer.steps, allSteps);
}

TEST_F(UninstallerTest, aTrashThatNeverAnswersDoesNotKeepItRunning) {
  log.expectError("Uninstall: application failed: it takes too long");
  computer.recyclesLate = true;
  uninstall();
  time.advance(Uninstaller::recycleLimit);
  EXPECT_EQ(computer.steps, allSteps);
  computer.finishRecycling();
  EXPECT_EQ(computer.steps, allSteps) << "once";
}

TEST_F(UninstallerTest, whatIsLeftToTheUserIsToldBeforeItQuits) {
  computer.result.leftToDo = "Zolvex itself is still installed. To remove it: sudo apt remove zolvex";
  computer.tellsLate = true;
  uninstall();
  EXPECT_EQ(computer.steps.back(), "tell: " + computer.result.leftToDo);
  EXPECT_TRUE(log.contains("Uninstall: " + computer.result.leftToDo));
  computer.finishTelling();
  time.runUntilIdle();
  EXPECT_EQ(computer.steps.back(), "terminate");
}

TEST_F(UninstallerTest, aDesktopThatCannotTellItDoesNotKeepItRunning) {
  computer.result.leftToDo = "Remove it.";
  computer.tellsLate = true;
  uninstall();
  time.advance(Uninstaller::tellLimit - Seconds(0.1));
  EXPECT_EQ(computer.steps.back(), "tell: Remove it.");
  time.advance(Seconds(0.1));
  EXPECT_EQ(computer.steps.back(), "terminate");
  const auto steps = computer.steps.size();
  computer.finishTelling();
  time.runUntilIdle();
  EXPECT_EQ(computer.steps.size(), steps) << "once";
}

TEST_F(UninstallerTest, aSecondCallDoesNothing) {
  computer.recyclesLate = true;
  uninstall();
  uninstall();
  EXPECT_EQ(computer.steps.back(), "recycle");
  EXPECT_EQ(computer.steps.size(), 4u);
}

TEST_F(UninstallerTest, anEndMeanwhileIsHarmless) {
  computer.recyclesLate = true;
  uninstall();
  uninstaller.reset();
  computer.finishRecycling();
  time.advance(Uninstaller::recycleLimit);
  EXPECT_EQ(computer.steps.back(), "recycle");
}

}  // namespace
}  // namespace zolvex::test
