#include "lab/world/Sandbox.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <variant>

namespace {

/// Skips every test when there can be no world here, and says why.
class NoWorld : public testing::Environment {
 public:
  explicit NoWorld(std::string reason) : reason_(std::move(reason)) {}
  void SetUp() override { GTEST_SKIP() << reason_; }

 private:
  std::string reason_;
};

bool onlyListsTests(int argc, char** argv) {
  for (int i = 1; i < argc; ++i)
    if (std::string_view(argv[i]) == "--gtest_list_tests") return true;
  return false;
}

}  // namespace

/// The tests run in the sandbox; what was started only waits for their end.
int main(int argc, char** argv) {
  using zolvex::lab::Sandbox;
  if (!onlyListsTests(argc, argv)) {
    const auto entered = Sandbox::enter();
    if (const auto* ended = std::get_if<Sandbox::Ended>(&entered)) return ended->exitStatus;
    if (const auto* impossible = std::get_if<Sandbox::Impossible>(&entered))
      testing::AddGlobalTestEnvironment(new NoWorld(impossible->reason));
  }
  QCoreApplication application(argc, argv);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
