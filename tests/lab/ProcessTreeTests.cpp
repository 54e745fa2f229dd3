#include "lab/EventWait.h"
#include "lab/world/ProcessTree.h"

#include <QProcess>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <string>

namespace zolvex::lab {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

char stateOf(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/stat");
  std::string text;
  std::getline(file, text);
  const auto end = text.rfind(") ");
  return end == std::string::npos ? '-' : text[end + 2];
}

/// A shell that starts another and a program.
class ProcessTreeTest : public testing::Test {
 protected:
  void SetUp() override {
    shell.start(u"sh"_s, {u"-c"_s, u"sh -c 'sleep 60 & wait' & sleep 60"_s});
    ASSERT_TRUE(shell.waitForStarted());
    root = static_cast<pid_t>(shell.processId());
    ASSERT_TRUE(waitUntil([&] { return ProcessTree::descendantsOf(root).size() == 3; }, 5s));
  }

  void TearDown() override {
    for (const auto process : ProcessTree::descendantsOf(root)) kill(process, SIGKILL);
    shell.kill();
    shell.waitForFinished();
  }

  bool allAre(char state) const {
    auto all = ProcessTree::descendantsOf(root);
    all.push_back(root);
    return std::ranges::all_of(all, [&](pid_t process) { return stateOf(process) == state; });
  }

  QProcess shell;
  pid_t root = 0;
};

TEST_F(ProcessTreeTest, wholeTreeStandsStillAndGoesOn) {
  ProcessTree tree(root);
  tree.freeze();
  EXPECT_TRUE(allAre('T'));
  tree.thaw();
  EXPECT_TRUE(waitUntil([&] { return allAre('S'); }, 5s));
}

TEST_F(ProcessTreeTest, treeThatWasNotFrozenIsLeftAlone) {
  const auto some = ProcessTree::descendantsOf(root).front();
  kill(some, SIGSTOP);
  ASSERT_TRUE(waitUntil([&] { return stateOf(some) == 'T'; }, 5s));
  ProcessTree tree(root);
  tree.thaw();
  EXPECT_EQ(stateOf(some), 'T');
}

}  // namespace
}  // namespace zolvex::lab
