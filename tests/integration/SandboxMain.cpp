#include "lab/world/Sandbox.h"
#include "support/WholeProgram.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

#include <variant>

/// The tests run in the sandbox; what was started only waits for their end.
int main(int argc, char** argv) {
  using zolvex::lab::Sandbox;
  using zolvex::test::onlyListsTests;
  using zolvex::test::SkipEveryTest;
  if (!onlyListsTests(argc, argv)) {
    const auto entered = Sandbox::enter();
    if (const auto* ended = std::get_if<Sandbox::Ended>(&entered)) return ended->exitStatus;
    if (const auto* impossible = std::get_if<Sandbox::Impossible>(&entered))
      testing::AddGlobalTestEnvironment(new SkipEveryTest(impossible->reason));
  }
  QCoreApplication application(argc, argv);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
