#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>

namespace zolvex::test {

/// For test programs whose main provides what all their tests need: skips every test, and says why.
class SkipEveryTest : public testing::Environment {
 public:
  explicit SkipEveryTest(std::string reason) : reason_(std::move(reason)) {}
  void SetUp() override { GTEST_SKIP() << reason_; }

 private:
  std::string reason_;
};

/// Whether the program was only asked for the names of its tests, so that nothing need be provided.
inline bool onlyListsTests(int argc, char** argv) {
  for (int i = 1; i < argc; ++i)
    if (std::string_view(argv[i]) == "--gtest_list_tests") return true;
  return false;
}

}  // namespace zolvex::test
