#include "ZolvexProcess.h"
#include "platform/session/XvfbServer.h"

#include <QDir>
#include <QLibraryInfo>
#include <gtest/gtest.h>

#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

/// Takes connections and says nothing.
struct SilentSocket {
  explicit SilentSocket(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(listen(listener, 1), 0);
  }
  ~SilentSocket() { close(listener); }
  SilentSocket(const SilentSocket&) = delete;

  const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
};

bool knowsWayland() {
  const QDir plugins(QLibraryInfo::path(QLibraryInfo::PluginsPath) + u"/platforms"_s);
  return !plugins.entryList({u"libqwayland*.so"_s}).isEmpty();
}

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

TEST_F(WindowsTest, anXServerThatNeverAnswersHoldsUpNothingButTheWindows) {
  if (QStandardPaths::findExecutable(u"Xvfb"_s).isEmpty()) GTEST_SKIP() << "Xvfb is not there";
  XvfbServer server;
  ASSERT_TRUE(server.start());
  computer.display = QString::fromStdString(server.display());
  ASSERT_TRUE(computer.sessionBus.start());
  kill(static_cast<pid_t>(server.processId()), SIGSTOP);
  computer.start();
  EXPECT_TRUE(zolvex().complains("no windows, start Zolvex again for them: the display does not answer"));
  EXPECT_TRUE(zolvex().complains("Device manager started"));
  EXPECT_TRUE(computer.isAnswering());
  EXPECT_EQ(computer.end(), 0);
}

TEST_F(WindowsTest, aCompositorThatNeverAnswersHoldsUpNothingButTheWindows) {
  const auto path = computer.directory.filePath(u"wayland-9"_s);
  const SilentSocket compositor(path.toStdString());
  ASSERT_TRUE(computer.sessionBus.start());
  computer.waylandDisplay = path;
  computer.start();
  // Without Qt's plugin for Wayland nobody asks it.
  EXPECT_TRUE(zolvex().complains(knowsWayland() ? "the display does not answer" : "no display answers"));
  EXPECT_TRUE(zolvex().complains("Device manager started"));
  EXPECT_EQ(computer.end(), 0);
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
