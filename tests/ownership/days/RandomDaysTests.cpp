#include "RandomDay.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>

namespace zolvex::test {
namespace {

constexpr std::uint32_t dayCount = 200;

void live(std::uint32_t seed) {
  EXPECT_EQ(RandomDay(seed).live(), "") << "Play this day again with: ZOLVEX_DAY=" << seed << " test-days";
}

TEST(RandomDays, theDevicesFollowTheUser) {
  if (const char* chosen = std::getenv("ZOLVEX_DAY"))
    return live(static_cast<std::uint32_t>(std::strtoul(chosen, nullptr, 10)));
  for (std::uint32_t seed = 1; seed <= dayCount && !HasFailure(); ++seed) live(seed);
}

}  // namespace
}  // namespace zolvex::test
