#include "platform/linux/LinuxSession.h"
#include "platform/session/SessionWorld.h"

#include <string>

namespace zolvex::test {
namespace {

struct LinuxSessionTest : SessionWorld {
  ~LinuxSessionTest() override {
    for (const auto& [name, value] : before) value.isNull() ? qunsetenv(name) : qputenv(name, value);
  }

  const std::vector<std::pair<const char*, QByteArray>> before{
      {"DISPLAY", qgetenv("DISPLAY")},
      {"WAYLAND_DISPLAY", qgetenv("WAYLAND_DISPLAY")},
      {"XDG_SESSION_TYPE", qgetenv("XDG_SESSION_TYPE")},
  };
  LinuxSession session{queue, link, link};
  const std::string triedX11 = "no X server that tells of its displays yet at :9999, waiting for it";
};

TEST_F(LinuxSessionTest, theXServerOfAWaylandSessionIsLeftAlone) {
  qputenv("DISPLAY", ":9999");
  qputenv("WAYLAND_DISPLAY", "wayland-0");
  session.start();
  qunsetenv("WAYLAND_DISPLAY");
  qputenv("XDG_SESSION_TYPE", "x11");
  LinuxSession ofX11(queue, link, link);
  ofX11.start();
  EXPECT_TRUE(logs(triedX11));
}

TEST_F(LinuxSessionTest, neitherAnXServerNorABusIsNeeded) {
  qunsetenv("DISPLAY");
  session.start();
  session.displayWaker().wakeDisplay();
  session.sleepInhibitor().allowSleep();
  runPending();
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(LinuxSessionTest, eachMissingServiceIsLoggedOnce) {
  connectLink();
  for (const auto* name : {"org.freedesktop.login1", "org.freedesktop.ScreenSaver", "org.gnome.ScreenSaver",
                           "org.gnome.Mutter.DisplayConfig"})
    EXPECT_TRUE(logs("no " + std::string(name) + " yet, waiting for it")) << name;
}

}  // namespace
}  // namespace zolvex::test
