#include "platform/linux/TerminationSignals.h"
#include "support/EventLoop.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <sys/wait.h>
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

TEST_F(TerminationSignalsTest, aClosedPipeIsAnError) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  close(ends[0]);
  EXPECT_EQ(write(ends[1], "x", 1), -1);
  EXPECT_EQ(errno, EPIPE);
  close(ends[1]);
}

TEST_F(TerminationSignalsTest, childProgramsDieOfSignalsAsUsual) {
  const pid_t child = fork();
  if (child == 0) {
    execlp("sh", "sh", "-c", "kill -PIPE $$; exit 0", nullptr);
    _exit(1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGPIPE);
}

TEST(TerminationSignalsEnd, aLateSignalIsHarmless) {
  {
    const TerminationSignals signals([](int) {});
  }
  EXPECT_EQ(kill(getpid(), SIGTERM), 0);
}

}  // namespace
}  // namespace zolvex::test
