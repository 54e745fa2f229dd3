#include "platform/linux/DisplayServer.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace zolvex::test {
namespace {

using Kind = DisplayServer::Kind;

struct DisplayServerTest : testing::Test {
  DisplayServerTest() { clear(); }
  ~DisplayServerTest() override { clear(); }
  static void clear() {
    for (const auto* name : {"DISPLAY", "WAYLAND_DISPLAY", "XDG_SESSION_TYPE"}) unsetenv(name);
  }
  static void set(const char* name, const char* value) { setenv(name, value, 1); }
  static Kind kind() { return DisplayServer::ofEnvironment().kind; }
};

TEST_F(DisplayServerTest, withoutADisplayThereIsNone) {
  EXPECT_EQ(kind(), Kind::none);
  set("DISPLAY", "");
  set("WAYLAND_DISPLAY", "");
  set("XDG_SESSION_TYPE", "tty");
  EXPECT_EQ(kind(), Kind::none);
}

TEST_F(DisplayServerTest, anXServerIsNamed) {
  set("DISPLAY", ":7");
  EXPECT_EQ(kind(), Kind::x11);
  EXPECT_EQ(DisplayServer::ofEnvironment().x11Display, ":7");
}

TEST_F(DisplayServerTest, anXServerBesideWaylandDoesNotCount) {
  set("DISPLAY", ":7");
  set("WAYLAND_DISPLAY", "wayland-0");
  EXPECT_EQ(kind(), Kind::wayland);
  EXPECT_EQ(DisplayServer::ofEnvironment().x11Display, "");
}

TEST_F(DisplayServerTest, theTypeOfTheSessionIsEnough) {
  set("DISPLAY", ":7");
  set("XDG_SESSION_TYPE", "wayland");
  EXPECT_EQ(kind(), Kind::wayland);
}

}  // namespace
}  // namespace zolvex::test
