#include "platform/linux/TerminationSignals.h"
#include "support/EventLoop.h"

#include <gtest/gtest.h>

#include <csignal>
#include <unistd.h>
#include <vector>

namespace zolvex::test {
namespace {

struct TerminationSignalsTest : testing::TestWithParam<int> {
  std::vector<int> received;
  TerminationSignals signals{[this](int signal) { received.push_back(signal); }};
};

TEST_P(TerminationSignalsTest, becomesACallOnTheMainThread) {
  kill(getpid(), GetParam());
  EXPECT_TRUE(received.empty());
  ASSERT_TRUE(runUntil([&] { return !received.empty(); }));
  EXPECT_EQ(received, std::vector<int>{GetParam()});
}

INSTANTIATE_TEST_SUITE_P(All, TerminationSignalsTest, testing::Values(SIGTERM, SIGINT, SIGHUP));

TEST_F(TerminationSignalsTest, severalSignalsAreAllTold) {
  for (const int signal : {SIGTERM, SIGINT, SIGTERM}) kill(getpid(), signal);
  ASSERT_TRUE(runUntil([&] { return received.size() >= 2; }));
}

TEST(TerminationSignalsEnd, aLateSignalIsHarmless) {
  {
    const TerminationSignals signals([](int) {});
  }
  EXPECT_EQ(kill(getpid(), SIGTERM), 0);
}

}  // namespace
}  // namespace zolvex::test
