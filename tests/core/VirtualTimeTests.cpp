#include "support/VirtualTime.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zolvex::test {
namespace {

using namespace std::chrono_literals;

struct VirtualTimeTest : testing::Test {
  void note(const std::string& what) { log.emplace_back(time.elapsed().count(), what); }

  VirtualTime time;
  std::vector<std::pair<double, std::string>> log;
};

TEST_F(VirtualTimeTest, runsWorkWhenItFallsDueAndEqualTimesInOrder) {
  auto b = time.after(2s, [&] { note("b"); });
  auto a = time.after(1s, [&] { note("a"); });
  auto c = time.after(2s, [&] { note("c"); });
  time.advance(1.5s);
  EXPECT_EQ(log, (std::vector<std::pair<double, std::string>>{{1, "a"}}));
  time.advance(0.5s);
  EXPECT_EQ(log.size(), 3u);
  EXPECT_EQ(log.back().second, "c");
}

TEST_F(VirtualTimeTest, cancelledAndForgottenWorkDoesNotRun) {
  auto cancelled = time.after(1s, [&] { note("cancelled"); });
  cancelled.cancel();
  {
    const auto forgotten = time.after(1s, [&] { note("forgotten"); });
  }
  time.advance(2s);
  EXPECT_TRUE(log.empty());
}

TEST_F(VirtualTimeTest, workOfASerialQueueTakesTheTimeItSpends) {
  VirtualSerialQueue queue(time);
  for (const std::string name : {"first", "second"})
    queue.async([this, name] {
      EXPECT_FALSE(time.isCurrent());
      time.spend(3s);
      time.async([this, name] { note(name); });
    });
  time.advance(2.9s);
  EXPECT_TRUE(log.empty());
  time.advance(3.1s);
  EXPECT_EQ(log, (std::vector<std::pair<double, std::string>>{{3, "first"}, {6, "second"}}));
}

}  // namespace
}  // namespace zolvex::test
