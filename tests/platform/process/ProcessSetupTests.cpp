#include "platform/linux/ProcessSetup.h"
#include "platform/process/StandInRun.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zolvex::test {
namespace {

/// Closes the standard streams, and gives them back in the end.
class WithoutStandardStreams {
 public:
  WithoutStandardStreams() {
    for (const int stream : {0, 1, 2}) close(stream);
  }
  ~WithoutStandardStreams() {
    for (const int stream : {0, 1, 2}) {
      dup2(saved_[static_cast<std::size_t>(stream)], stream);
      close(saved_[static_cast<std::size_t>(stream)]);
    }
  }
  WithoutStandardStreams(const WithoutStandardStreams&) = delete;

 private:
  const std::array<int, 3> saved_{fcntl(0, F_DUPFD_CLOEXEC, 10), fcntl(1, F_DUPFD_CLOEXEC, 10),
                                  fcntl(2, F_DUPFD_CLOEXEC, 10)};
};

TEST(ProcessSetupTest, closedStandardStreamsLeadNowhere) {
  char byte = 0;
  ssize_t taken = -1;
  std::array<ssize_t, 2> written{};
  int next = -1;
  {
    const WithoutStandardStreams closed;
    setUpProcess();
    taken = read(STDIN_FILENO, &byte, 1);
    written = {write(STDOUT_FILENO, "x", 1), write(STDERR_FILENO, "x", 1)};
    next = open("/dev/null", O_RDONLY | O_CLOEXEC);
    close(next);
  }
  EXPECT_EQ(taken, 0);
  EXPECT_EQ(written, (std::array<ssize_t, 2>{1, 1}));
  EXPECT_GT(next, STDERR_FILENO) << "no file takes the number of a standard stream";
}

TEST(ProcessSetupTest, openStandardStreamsStayWhatTheyAre) {
  const auto descriptors = openDescriptors();
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  const int saved = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 10);
  dup2(ends[1], STDOUT_FILENO);
  setUpProcess();
  const auto written = write(STDOUT_FILENO, "x", 1);
  dup2(saved, STDOUT_FILENO);
  for (const int descriptor : {saved, ends[1]}) close(descriptor);
  char byte = 0;
  EXPECT_EQ(written, 1);
  EXPECT_EQ(read(ends[0], &byte, 1), 1);
  close(ends[0]);
  EXPECT_EQ(openDescriptors(), descriptors);
}

TEST(ProcessSetupTest, exitStatusesAreKnownAlsoWhereAParentIgnoresChildren) {
  std::signal(SIGCHLD, SIG_IGN);
  setUpProcess();
  PosixProcessLauncher launcher;
  const auto child = startStandIn(launcher, "exit 66");
  ASSERT_TRUE(child->waitForExit(ample));
  EXPECT_EQ(child->exitStatus(), 66);
}

TEST(ProcessSetupTest, aClosedPipeIsAnError) {
  setUpProcess();
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  close(ends[0]);
  EXPECT_EQ(write(ends[1], "x", 1), -1);
  EXPECT_EQ(errno, EPIPE);
  close(ends[1]);
}

TEST(ProcessSetupTest, childProgramsDieOfSignalsAsUsual) {
  setUpProcess();
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

}  // namespace
}  // namespace zolvex::test
