#include "platform/linux/PosixProcessLauncher.h"
#include "platform/process/StandInRun.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <future>
#include <pthread.h>
#include <string>
#include <thread>
#include <unistd.h>

namespace zolvex {
namespace {

using test::ample;
using test::startStandIn;
using Waiting = SpawnedProcess::Waiting;

class PosixProcessLauncherTest : public testing::TestWithParam<Waiting> {
 protected:
  std::unique_ptr<ChildProcess> start(const std::string& plan) { return startStandIn(launcher, plan); }
  std::string outputOf(const std::string& plan) {
    const auto child = start(plan);
    EXPECT_TRUE(child->waitForExit(ample));
    return child->readOutput();
  }

  PosixProcessLauncher launcher{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(Waiting, PosixProcessLauncherTest, testing::Values(Waiting::byDescriptor, Waiting::byLooking),
                         [](const auto& instance) {
                           return instance.param == Waiting::byDescriptor ? "byDescriptor" : "byLooking";
                         });

TEST_P(PosixProcessLauncherTest, reportsTheExitStatus) {
  for (const int status : {0, 1, 66, 255}) {
    const auto child = start("exit " + std::to_string(status));
    ASSERT_TRUE(child->waitForExit(ample));
    EXPECT_EQ(child->exitStatus(), status);
  }
}

TEST_P(PosixProcessLauncherTest, aSignalCountsAs128PlusItsNumber) {
  const auto child = start("raise " + std::to_string(SIGKILL));
  ASSERT_TRUE(child->waitForExit(ample));
  EXPECT_EQ(child->exitStatus(), 128 + SIGKILL);
}

TEST_P(PosixProcessLauncherTest, passesTheArgumentsUnchanged) {
  EXPECT_EQ(outputOf("arguments"), "first|second one|");
}

TEST_P(PosixProcessLauncherTest, keepsOutputAndErrorApart) {
  const auto child = start("print one;complain two;print three");
  ASSERT_TRUE(child->waitForExit(ample));
  EXPECT_EQ(child->readOutput(), "one\nthree\n");
  EXPECT_EQ(child->readError(), "two\n");
  EXPECT_EQ(child->readOutput(), "");
}

TEST_P(PosixProcessLauncherTest, theChildReadsItsInputToItsEnd) {
  const auto child = start("read");
  EXPECT_GT(child->writeInput("AA-BB-CC-DD-EE-FF", ample), Seconds(0));
  ASSERT_TRUE(child->waitForExit(ample));
  EXPECT_EQ(child->readOutput(), "AA-BB-CC-DD-EE-FF");
}

TEST_P(PosixProcessLauncherTest, inputLargerThanThePipeArrivesWhole) {
  const auto child = start("read");
  const std::string large(50'000, 'y');
  child->writeInput(large, ample);
  ASSERT_TRUE(child->waitForExit(ample));
  EXPECT_EQ(child->readOutput(), large);
}

TEST_P(PosixProcessLauncherTest, aChildThatEndedWithoutReadingDoesNotHarmUs) {
  const auto child = start("exit 3");
  ASSERT_TRUE(child->waitForExit(ample));
  child->writeInput(std::string(1 << 20, 'y'), ample);
  EXPECT_EQ(child->exitStatus(), 3);
}

TEST_P(PosixProcessLauncherTest, aChildThatEndsWhileItIsWrittenToDoesNotHarmUs) {
  const auto child = start("sleep 0.05;exit 3");
  child->writeInput(std::string(1 << 20, 'y'), ample);
  EXPECT_TRUE(child->waitForExit(ample));
}

TEST_P(PosixProcessLauncherTest, writingToAChildThatNeverReadsEndsAtTheLimit) {
  const auto child = start("sleep 60");
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(child->writeInput(std::string(1 << 20, 'y'), Seconds(0.1)), Seconds(0));
  EXPECT_GE(std::chrono::steady_clock::now() - begin, Seconds(0.1));
  child->kill();
  EXPECT_TRUE(child->waitForExit(ample));
}

TEST_P(PosixProcessLauncherTest, waitingEndsAtTheLimitAndMayBeResumed) {
  const auto child = start("sleep 60");
  EXPECT_FALSE(child->waitForExit(Seconds(0.05)));
  EXPECT_FALSE(child->waitForExit(Seconds(0)));
  EXPECT_FALSE(child->waitForExit(Seconds(-1)));
  child->terminate();
  EXPECT_TRUE(child->waitForExit(ample));
  EXPECT_TRUE(child->waitForExit(Seconds(0)));
  EXPECT_EQ(child->exitStatus(), 128 + SIGTERM);
}

TEST_P(PosixProcessLauncherTest, aSignalHandlerThatInterruptsTheWaitDoesNotEndIt) {
  struct sigaction action {};
  action.sa_handler = [](int) {};  // without SA_RESTART
  struct sigaction previous {};
  sigaction(SIGUSR1, &action, &previous);
  const auto child = start("sleep 0.3;exit 4");
  const auto waiting = pthread_self();
  std::atomic<bool> ended = false;
  std::thread interrupting([&] {
    while (!ended) {
      pthread_kill(waiting, SIGUSR1);
      std::this_thread::yield();
    }
  });
  EXPECT_TRUE(child->waitForExit(ample));
  ended = true;
  interrupting.join();
  EXPECT_EQ(child->exitStatus(), 4);
  sigaction(SIGUSR1, &previous, nullptr);
}

TEST_P(PosixProcessLauncherTest, aChildThatIgnoresThePoliteRequestIsKilled) {
  const auto child = start("ignore 15;print ready;sleep 60");
  while (child->readOutput().empty()) std::this_thread::yield();
  child->terminate();
  EXPECT_FALSE(child->waitForExit(Seconds(0.1)));
  child->kill();
  EXPECT_TRUE(child->waitForExit(ample));
  EXPECT_EQ(child->exitStatus(), 128 + SIGKILL);
}

TEST_P(PosixProcessLauncherTest, signalsAfterTheEndAreHarmless) {
  const auto child = start("exit 0");
  ASSERT_TRUE(child->waitForExit(ample));
  child->terminate();
  child->kill();
  EXPECT_EQ(child->exitStatus(), 0);
}

TEST_P(PosixProcessLauncherTest, readingDoesNotWaitForAGrandchildThatHoldsThePipes) {
  const auto child = start("print before;grandchild 2;exit 0");
  ASSERT_TRUE(child->waitForExit(ample));
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(child->readOutput(), "before\n");
  EXPECT_EQ(child->readError(), "");
  EXPECT_LT(std::chrono::steady_clock::now() - begin, Seconds(1));
}

TEST_P(PosixProcessLauncherTest, aFloodFillsThePipeAndNoMore) {
  const auto child = start("flood 10000000");
  EXPECT_FALSE(child->waitForExit(Seconds(0.1)));
  child->kill();
  ASSERT_TRUE(child->waitForExit(ample));
  EXPECT_LE(child->readOutput().size(), 1u << 20);
}

TEST_P(PosixProcessLauncherTest, theChildHasTheSignalHandlingOfAFreshProcess) {
  std::signal(SIGPIPE, SIG_IGN);
  sigset_t blocked;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
  EXPECT_EQ(outputOf("signals"), "end of signals");
  pthread_sigmask(SIG_UNBLOCK, &blocked, nullptr);
  std::signal(SIGPIPE, SIG_DFL);
}

TEST_P(PosixProcessLauncherTest, theChildInheritsNothingButTheThreePipes) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);  // by which it could be inherited
  const auto other = start("sleep 60");
  EXPECT_EQ(outputOf("descriptors"), "0 1 2 ");
  other->kill();
  EXPECT_TRUE(other->waitForExit(ample));
  close(ends[0]);
  close(ends[1]);
}

TEST_P(PosixProcessLauncherTest, worksInAProcessWithoutStandardStreams) {
  const int saved[] = {fcntl(0, F_DUPFD_CLOEXEC, 10), fcntl(1, F_DUPFD_CLOEXEC, 10), fcntl(2, F_DUPFD_CLOEXEC, 10)};
  for (const int stream : {0, 1, 2}) close(stream);
  const auto child = start("read;complain two;exit 5");
  child->writeInput("one", ample);
  const bool ended = child->waitForExit(ample);
  for (const int stream : {0, 1, 2}) {
    dup2(saved[stream], stream);
    close(saved[stream]);
  }
  ASSERT_TRUE(ended);
  EXPECT_EQ(child->readOutput(), "one");
  EXPECT_EQ(child->readError(), "two\n");
  EXPECT_EQ(child->exitStatus(), 5);
}

TEST_P(PosixProcessLauncherTest, aMissingExecutableIsAnErrorWithAReason) {
  const auto descriptors = test::openDescriptors();
  const auto launched = launcher.launch("/nonexistent/zolvex", {});
  ASSERT_TRUE(std::holds_alternative<ProcessLauncher::Error>(launched));
  EXPECT_EQ(std::get<ProcessLauncher::Error>(launched).description, "No such file or directory");
  EXPECT_EQ(test::openDescriptors(), descriptors);
  EXPECT_FALSE(test::hasChildren());
}

TEST_P(PosixProcessLauncherTest, aChildThatWasGivenUpIsReapedByALaterLaunch) {
  start("exit 0").reset();
  siginfo_t info{};
  ASSERT_EQ(waitid(P_ALL, 0, &info, WEXITED | WNOWAIT), 0);  // it has ended and nobody has reaped it
  const auto next = start("exit 0");
  EXPECT_TRUE(next->waitForExit(ample));
  EXPECT_FALSE(test::hasChildren());
}

TEST_P(PosixProcessLauncherTest, aChildReapedBySomebodyElseCountsAsEnded) {
  const auto child = start("exit 0");
  siginfo_t info{};
  ASSERT_EQ(waitid(P_ALL, 0, &info, WEXITED), 0);
  EXPECT_TRUE(child->waitForExit(ample));
  EXPECT_EQ(child->exitStatus(), SpawnedProcess::unknownExitStatus);
}

TEST_P(PosixProcessLauncherTest, stoppingEndsAPoliteChildAtOnce) {
  const auto child = start("sleep 60");
  launcher.stop();
  EXPECT_TRUE(child->waitForExit(Seconds(0)));
  EXPECT_EQ(child->exitStatus(), 128 + SIGTERM);
}

TEST_P(PosixProcessLauncherTest, stoppingKillsAChildThatStaysAndWakesWhoeverWaitsForIt) {
  const auto child = start("ignore 15;print ready;sleep 60");
  while (child->readOutput().empty()) std::this_thread::yield();
  auto waiting = std::async(std::launch::async, [&] { return child->waitForExit(ample); });
  const auto begin = std::chrono::steady_clock::now();
  launcher.stop();
  EXPECT_GE(std::chrono::steady_clock::now() - begin, PosixProcessLauncher::stopGrace);
  EXPECT_TRUE(waiting.get());
  EXPECT_EQ(child->exitStatus(), 128 + SIGKILL);
  EXPECT_FALSE(test::hasChildren());
}

TEST_P(PosixProcessLauncherTest, nothingIsLaunchedAfterStopping) {
  launcher.stop();
  launcher.stop();
  test::setStandInPlan("exit 0");
  const auto launched = launcher.launch(test::standInExecutable, {});
  EXPECT_TRUE(std::holds_alternative<ProcessLauncher::Error>(launched));
  EXPECT_FALSE(test::hasChildren());
}

}  // namespace
}  // namespace zolvex
