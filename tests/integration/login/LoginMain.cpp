#include "OwnCgroup.h"
#include "UserManager.h"
#include "lab/world/Sandbox.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <variant>

namespace {

using zolvex::lab::Sandbox;
using zolvex::test::OwnCgroup;
using zolvex::test::UserManager;

/// Skips every test when there can be no systemd of a user here, and says why.
class NoUserManager : public testing::Environment {
 public:
  explicit NoUserManager(std::string reason) : reason_(std::move(reason)) {}
  void SetUp() override { GTEST_SKIP() << reason_; }

 private:
  std::string reason_;
};

bool onlyListsTests(int argc, char** argv) {
  for (int i = 1; i < argc; ++i)
    if (std::string_view(argv[i]) == "--gtest_list_tests") return true;
  return false;
}

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
      testing::AddGlobalTestEnvironment(new NoUserManager("No systemd of a user can run here: " + obstacle));
  }
  QCoreApplication application(argc, argv);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
