#include "OwnCgroup.h"
#include "UserManager.h"
#include "lab/world/Sandbox.h"
#include "support/WholeProgram.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

#include <string>
#include <variant>

namespace {

using zolvex::lab::Sandbox;
using zolvex::test::onlyListsTests;
using zolvex::test::OwnCgroup;
using zolvex::test::SkipEveryTest;
using zolvex::test::UserManager;

/// Why not, if it cannot be.
std::string prepare(const std::variant<Sandbox::Inside, Sandbox::Ended, Sandbox::Impossible>& entered,
                    const OwnCgroup& cgroup) {
  if (const auto missing = UserManager::missing(); !missing.empty()) return missing + " is not installed";
  const auto* impossible = std::get_if<Sandbox::Impossible>(&entered);
  return impossible ? impossible->reason : cgroup.enter();
}

}  // namespace

/// The tests run in the sandbox and in control groups of their own; what was started waits for their end and cleans up.
int main(int argc, char** argv) {
  if (!onlyListsTests(argc, argv)) {
    const OwnCgroup cgroup;
    const auto entered = Sandbox::enter();
    if (const auto* ended = std::get_if<Sandbox::Ended>(&entered)) {
      cgroup.remove();
      return ended->exitStatus;
    }
    if (const auto obstacle = prepare(entered, cgroup); !obstacle.empty())
      testing::AddGlobalTestEnvironment(new SkipEveryTest("No systemd of a user can run here: " + obstacle));
  }
  QCoreApplication application(argc, argv);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
