#include "platform/linux/TerminationSignals.h"
#include "support/EventLoop.h"

#include <gtest/gtest.h>

#include <csignal>
#include <unistd.h>
#include <vector>

namespace zolvex::test {
namespace {

/// In a process that nobody has told to ignore these signals, however the tests were started.
struct FreshProcess {
  FreshProcess() {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) std::signal(signal, SIG_DFL);
  }
};

struct TerminationSignalsTest : testing::TestWithParam<int> {
  FreshProcess process;
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

TEST(InheritedSignals, onlyAHangUpStaysIgnored) {
  const FreshProcess process;
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) std::signal(signal, SIG_IGN);
  std::vector<int> received;
  const TerminationSignals signals([&](int signal) { received.push_back(signal); });
  for (const int signal : {SIGHUP, SIGINT, SIGTERM}) kill(getpid(), signal);
  ASSERT_TRUE(runUntil([&] { return received.size() >= 2; }));
  runPending();
  EXPECT_EQ(received, (std::vector<int>{SIGINT, SIGTERM}));
}

TEST(TerminationSignalsEnd, aLateSignalIsHarmless) {
  {
    const TerminationSignals signals([](int) {});
  }
  EXPECT_EQ(kill(getpid(), SIGTERM), 0);
}

}  // namespace
}  // namespace zolvex::test
