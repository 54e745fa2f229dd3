#pragma once

#include "lab/world/World.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace zolvex::lab {

/// "Studio" and "Laptop" with real Zolvex processes, which know each other. Laptop has the devices and knows that it
/// has them. Whatever a test does to them, comesToRest() and nextSwitchWorks() say whether they can go on.
class TwoComputers : public testing::Test {
 protected:
  static constexpr std::chrono::milliseconds quick{5'000};
  static constexpr std::chrono::milliseconds thorough{60'000};

  /// `devices` are the names of those that are managed; all when empty.
  explicit TwoComputers(QStringList devices = {});
  void SetUp() override;
  void TearDown() override;

  Desktop& studio() { return world.desktop(QStringLiteral("Studio")); }
  Desktop& laptop() { return world.desktop(QStringLiteral("Laptop")); }
  Radio& radio() { return world.radio(); }

  int deviceCount() const { return static_cast<int>(managed_.size()); }
  int devicesOf(const Desktop& desktop) const;

  bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit = quick) {
    return world.waitUntil(condition, limit);
  }
  bool waitForState(Desktop& desktop, const char* state, std::chrono::milliseconds limit = quick);
  bool waitForResult(Desktop& desktop, const char* lastResult, std::chrono::milliseconds limit = quick);

  /// Waits for a line in a computer's log.
  bool waitForLog(Desktop& desktop, const QString& part, std::chrono::milliseconds limit = quick);
  int logged(const Desktop& desktop, const QString& part) const;
  int errorsLogged() const;

  /// Both have ended what they did, no worker is left, and no device has two owners.
  testing::AssertionResult comesToRest(std::chrono::milliseconds limit = thorough);

  /// Starts Zolvex again where it is not running, waits until both know each other, lifts all faults.
  testing::AssertionResult isWholeAgain();

  /// From whatever state there is, `taker` gets every device.
  testing::AssertionResult nextSwitchWorks(Desktop& taker);

  /// When `condition` first holds after a device's ownership or a log line has changed, `action` is run.
  void when(std::function<bool()> condition, std::function<void()> action);

  World world;

 private:
  static WorldOptions options(const QStringList& devices);
  void lookAtTriggers();

  /// Its first health check is over, which falls into the first seconds: whatever else is sent meanwhile is dropped.
  /// The next one is 15 s away.
  bool hasChecked(const Desktop& desktop) const;

  QStringList managed_;  // addresses
  std::map<QString, QStringList> log_;
  struct Trigger {
    std::function<bool()> condition;
    std::function<void()> action;
  };
  std::vector<Trigger> triggers_;
};

}  // namespace zolvex::lab
