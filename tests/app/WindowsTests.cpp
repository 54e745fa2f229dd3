#include "ZolvexProcess.h"
#include "platform/session/XvfbServer.h"

#include <gtest/gtest.h>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

/// The real program on a display, and what keeps it from having windows there.
struct WindowsTest : testing::Test {
  ProgramRun& zolvex() { return *computer.zolvex; }

  ZolvexProcess computer;
};

TEST_F(WindowsTest, aSessionBusThatNeverAnswersHoldsUpNothingButTheWindows) {
  if (QStandardPaths::findExecutable(u"Xvfb"_s).isEmpty()) GTEST_SKIP() << "Xvfb is not there";
  XvfbServer server;
  ASSERT_TRUE(server.start());
  computer.display = QString::fromStdString(server.display());
  ASSERT_TRUE(computer.sessionBus.start());
  const auto daemon = static_cast<pid_t>(computer.sessionBus.processId());
  kill(daemon, SIGSTOP);
  computer.start();
  EXPECT_TRUE(zolvex().complains("no windows, start Zolvex again for them: the session bus does not answer"));
  EXPECT_TRUE(zolvex().complains("Device manager started"));
  EXPECT_EQ(computer.end(), 0);
  kill(daemon, SIGCONT);
}

TEST_F(WindowsTest, aDisplayThatIsNotThereIsNone) {
  computer.display = u":59999"_s;
  ASSERT_TRUE(computer.sessionBus.start());
  computer.start();
  EXPECT_TRUE(zolvex().complains("no windows: "));
  EXPECT_TRUE(zolvex().complains("Device manager started"));
  EXPECT_EQ(computer.end(), 0);
}

}  // namespace
}  // namespace zolvex::test
