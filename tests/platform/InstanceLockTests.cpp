#include "platform/linux/InstanceLock.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zolvex::test {
namespace {

using Result = InstanceLock::Result;

struct InstanceLockTest : testing::Test {
  ~InstanceLockTest() override { std::filesystem::remove_all(directory); }
  const std::filesystem::path directory =
      std::filesystem::path(testing::TempDir()) / ("zolvex-lock-" + std::to_string(getpid()));
  const std::string path = directory / "zolvex" / "instance.lock";
};

TEST_F(InstanceLockTest, theFirstGetsItTheSecondLearnsOfTheFirst) {
  InstanceLock first(path);
  EXPECT_EQ(first.acquire(), Result::acquired);
  InstanceLock second(path);
  EXPECT_EQ(second.acquire(), Result::heldByAnother);
  EXPECT_EQ(second.holder(), std::to_string(getpid()));
}

TEST_F(InstanceLockTest, endsWithItsObject) {
  { EXPECT_EQ(InstanceLock(path).acquire(), Result::acquired); }
  EXPECT_EQ(InstanceLock(path).acquire(), Result::acquired);
}

TEST_F(InstanceLockTest, endsWithAKilledProcess) {
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  const pid_t child = fork();
  if (child == 0) {
    InstanceLock lock(path);
    const bool acquired = lock.acquire() == Result::acquired;
    if (write(ready[1], acquired ? "y" : "n", 1) == 1) pause();
    _exit(1);
  }
  char answer = 0;
  ASSERT_EQ(read(ready[0], &answer, 1), 1);
  EXPECT_EQ(answer, 'y');
  EXPECT_EQ(InstanceLock(path).acquire(), Result::heldByAnother);
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  EXPECT_EQ(InstanceLock(path).acquire(), Result::acquired);
}

TEST_F(InstanceLockTest, childProcessesDoNotKeepIt) {
  pid_t child = 0;
  {
    InstanceLock lock(path);
    ASSERT_EQ(lock.acquire(), Result::acquired);
    int started[2];
    ASSERT_EQ(pipe(started), 0);
    child = fork();
    if (child == 0) {
      dup2(started[1], STDOUT_FILENO);
      execlp("sh", "sh", "-c", "echo; exec sleep 60", nullptr);
      _exit(1);
    }
    char line = 0;
    ASSERT_EQ(read(started[0], &line, 1), 1);
  }
  EXPECT_EQ(InstanceLock(path).acquire(), Result::acquired);
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
}

TEST_F(InstanceLockTest, isForItsOwnerOnly) {
  InstanceLock lock(path);
  ASSERT_EQ(lock.acquire(), Result::acquired);
  struct stat status {};
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777u, 0600u);
}

TEST_F(InstanceLockTest, aPlaceThatCannotBeWrittenIsNoSecondInstance) {
  EXPECT_EQ(InstanceLock("/dev/null/zolvex/instance.lock").acquire(), Result::unavailable);
}

}  // namespace
}  // namespace zolvex::test
