#include "app/ZolvexProcess.h"
#include "ui/accessibility/ScreenReader.h"
#include "ui/desktop/StubPortalBackend.h"

#include <QDir>
#include <QLibraryInfo>
#include <QStandardPaths>
#include <gtest/gtest.h>

#include <ostream>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

enum class Compositor { weston, mutter };

const char* programOf(Compositor compositor) {
  return compositor == Compositor::weston ? "weston" : "mutter";
}

void PrintTo(Compositor compositor, std::ostream* out) {
  *out << programOf(compositor);
}

QStringList optionsOf(Compositor compositor) {
  if (compositor == Compositor::weston)
    return {u"--backend=headless-backend.so"_s, u"--socket=wayland-test"_s, u"--no-config"_s, u"--idle-time=0"_s};
  return {u"--headless"_s, u"--wayland"_s,         u"--no-x11"_s,    u"--virtual-monitor"_s,
          u"1280x800"_s,   u"--wayland-display"_s, u"wayland-test"_s};
}

std::string reasonAgainstWayland(Compositor compositor) {
  if (QStandardPaths::findExecutable(QString::fromLatin1(programOf(compositor))).isEmpty())
    return std::string(programOf(compositor)) + " is not installed (a Debian package of this name)";
  const QDir plugins(QLibraryInfo::path(QLibraryInfo::PluginsPath) + u"/platforms"_s);
  if (plugins.entryList({u"libqwayland*.so"_s}).isEmpty()) return "Qt knows no Wayland (Debian package qt6-wayland)";
  return ScreenReader::reasonAgainst();
}

/// A compositor without hardware. weston has no screen, and no keyboard and mouse either, as where they have gone to
/// the other computer.
struct WaylandTest : testing::TestWithParam<Compositor> {
  void SetUp() override {
    if (const auto reason = reasonAgainstWayland(GetParam()); !reason.empty()) GTEST_SKIP() << reason;
    ASSERT_TRUE(computer.sessionBus.start());
    ASSERT_TRUE(startCompositor());
    ASSERT_TRUE(reader.start(computer.sessionBus.address(), computer.variables()));
    computer.isWayland = true;
    computer.writeSettings(R"({"managedDeviceAddresses": ["A1"], "autoConnect": false, "didOpenAtFirstStart": true})");
  }
  [[nodiscard]] bool startCompositor() {
    compositor.emplace(QString::fromLatin1(programOf(GetParam())), optionsOf(GetParam()), computer.variables());
    computer.waylandDisplay = computer.directory.filePath(u"wayland-test"_s);
    return runUntil([this] { return QFile::exists(computer.waylandDisplay); });
  }
  ProgramRun& zolvex() { return *computer.zolvex; }
  [[nodiscard]] bool isShown() {
    return runUntil([this] { return reader.tells(u"Switch to Me"_s); });
  }
  void expectQuietEnd() {
    EXPECT_EQ(computer.end(), 0);
    EXPECT_EQ(zolvex().errors().find("qrc:"), std::string::npos) << zolvex().errors();
  }

  ZolvexProcess computer;
  ScreenReader reader;
  std::optional<ProgramRun> compositor;
};

TEST_P(WaylandTest, thePopoverIsAWindow) {
  ASSERT_TRUE(computer.startOnBus());
  EXPECT_FALSE(reader.tells(u"Switch to Me"_s)) << "nobody has asked for a window";
  EXPECT_EQ(computer.control({u"show"_s}).exitStatus(), 0);
  EXPECT_TRUE(isShown());
  expectQuietEnd();
}

TEST_P(WaylandTest, thePortalsHotKeyOpensItAndSwitches) {
  if (const auto reason = StubPortalBackend::reasonAgainst(); !reason.empty()) GTEST_SKIP() << reason;
  StubPortalBackend desktop(computer.sessionBus.address());
  desktop.startPortal(computer.variables(), QStringLiteral(ZOLVEX));
  ASSERT_TRUE(computer.startOnBus());
  ASSERT_TRUE(zolvex().complains("Global hotkey registered"));
  ASSERT_TRUE(desktop.isBound());
  desktop.press(u"ZLVX-1"_s);
  EXPECT_TRUE(zolvex().complains("DeviceManager: Connect: starting"));
  EXPECT_TRUE(isShown());
  expectQuietEnd();
}

INSTANTIATE_TEST_SUITE_P(Compositors, WaylandTest, testing::Values(Compositor::weston, Compositor::mutter),
                         [](const auto& compositor) { return programOf(compositor.param); });

}  // namespace
}  // namespace zolvex::test
