#include "core/Uuid.h"

#include <gtest/gtest.h>

#include <regex>
#include <set>

namespace zolvex {
namespace {

TEST(Uuid, isCanonicalVersionFourInUpperCase) {
  const std::regex form("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
  for (int i = 0; i < 1000; ++i) EXPECT_TRUE(std::regex_match(randomUuid(), form));
}

TEST(Uuid, differsEachTime) {
  std::set<std::string> seen;
  for (int i = 0; i < 1000; ++i) seen.insert(randomUuid());
  EXPECT_EQ(seen.size(), 1000u);
}

}  // namespace
}  // namespace zolvex
