#include "support/ScriptedService.h"
#include "ui/desktop/DesktopWorld.h"

#include <QDBusMetaType>
#include <gtest/gtest.h>

#include <algorithm>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

constexpr auto docked = "the status item is in the panel";
constexpr auto setUp = R"({"managedDeviceAddresses": ["A1"], "autoConnect": false, "didOpenAtFirstStart": true})";

struct DesktopTest : testing::Test {
  void SetUp() override {
    if (const auto reason = DesktopWorld::reasonAgainst(); !reason.empty()) GTEST_SKIP() << reason;
    ASSERT_TRUE(desktop.start());
  }
  void startDocked() {
    desktop.computer.writeSettings(setUp);
    ASSERT_TRUE(desktop.startZolvex());
    ASSERT_TRUE(zolvex().complains(docked));
    waitForDock();
  }
  /// The panel takes the icon some time after it was offered.
  void waitForDock() {
    ASSERT_TRUE(runUntil([this] {
      desktop.click(DesktopWorld::icon);
      return desktop.isShownNow();
    }));
    desktop.press(u"Escape"_s);
    ASSERT_TRUE(desktop.isHidden());
  }
  ProgramRun& zolvex() { return *desktop.computer.zolvex; }

  void expectQuietEnd() {
    EXPECT_EQ(desktop.computer.end(), 0);
    const auto log = zolvex().errors();
    EXPECT_EQ(log.find("qrc:"), std::string::npos) << log;
    EXPECT_EQ(log.find("QML"), std::string::npos) << log;
  }

  DesktopWorld desktop;
};

TEST_F(DesktopTest, aLeftClickShowsAndNeverCloses) {
  startDocked();
  desktop.click(DesktopWorld::icon);
  EXPECT_TRUE(desktop.isShown());
  desktop.click(DesktopWorld::icon);
  EXPECT_TRUE(desktop.isShown());
  expectQuietEnd();
}

TEST_F(DesktopTest, aRightClickShowsAndCloses) {
  startDocked();
  desktop.click(DesktopWorld::icon, 3);
  EXPECT_TRUE(desktop.isShown());
  desktop.click(DesktopWorld::icon, 3);
  EXPECT_TRUE(desktop.isHidden());
  expectQuietEnd();
}

TEST_F(DesktopTest, aClickElsewhereAndEscapeClose) {
  startDocked();
  desktop.click(DesktopWorld::icon);
  ASSERT_TRUE(desktop.isShown());
  desktop.click(DesktopWorld::nowhere);
  EXPECT_TRUE(desktop.isHidden());
  desktop.click(DesktopWorld::icon);
  ASSERT_TRUE(desktop.isShown());
  desktop.press(u"Escape"_s);
  EXPECT_TRUE(desktop.isHidden());
  expectQuietEnd();
}

TEST_F(DesktopTest, aClickOnAPanelThatTakesNoKeyboardCloses) {
  startDocked();
  for (const int button : {1, 3}) {
    desktop.click(DesktopWorld::icon);
    ASSERT_TRUE(desktop.isShown());
    desktop.click(DesktopWorld::panel, button);
    EXPECT_TRUE(desktop.isHidden());
  }
  expectQuietEnd();
}

TEST_F(DesktopTest, clicksInsideAndTheWheelOnAPanelDoNotClose) {
  startDocked();
  desktop.click(DesktopWorld::icon);
  ASSERT_TRUE(desktop.isShown());
  constexpr int wheelDown = 5;
  desktop.click(DesktopWorld::panel, wheelDown);
  desktop.click(DesktopWorld::inside);
  desktop.click(DesktopWorld::inside, 3);
  EXPECT_FALSE(desktop.isHidden(std::chrono::milliseconds(300)));
  desktop.press(u"Escape"_s);
  EXPECT_TRUE(desktop.isHidden());
  expectQuietEnd();
}

TEST_F(DesktopTest, theLicenceLeavesThePopoverAtItsIcon) {
  startDocked();
  desktop.click(DesktopWorld::icon);
  ASSERT_TRUE(desktop.isShown());
  for (const auto& key : {u"shift+Tab"_s, u"shift+Tab"_s, u"Return"_s}) desktop.press(key);  // the About page
  for (const auto& key : {u"Tab"_s, u"Tab"_s, u"Tab"_s, u"Tab"_s, u"Return"_s}) desktop.press(key);
  ASSERT_TRUE(desktop.isShown(u"Acknowledgements"_s));
  EXPECT_FALSE(desktop.isHidden(std::chrono::milliseconds(600)));
  desktop.press(u"Escape"_s);
  EXPECT_TRUE(runUntil([this] { return !desktop.isShownNow(u"Acknowledgements"_s); }));
  EXPECT_FALSE(desktop.isHidden(std::chrono::milliseconds(600)));
  expectQuietEnd();
}

TEST_F(DesktopTest, theFirstOpeningDoesNotWaitForAHungBus) {
  desktop.computer.writeSettings(setUp);
  ASSERT_TRUE(desktop.startZolvex());
  ASSERT_TRUE(zolvex().complains(docked));
  const auto bus = static_cast<pid_t>(desktop.computer.sessionBus.processId());
  ASSERT_EQ(kill(bus, SIGSTOP), 0);
  waitForDock();
  EXPECT_EQ(kill(bus, SIGCONT), 0);
  expectQuietEnd();
}

/// A desktop's portal that wants windows to be dark, and knows no more.
class DarkPortal {
 public:
  explicit DarkPortal(const QString& busAddress) : service_(busAddress, u"org.freedesktop.portal.Desktop"_s, answer) {
    qDBusRegisterMetaType<QMap<QString, QVariantMap>>();
  }

 private:
  static QDBusMessage answer(const QDBusMessage& call) {
    if (call.member() != "ReadAll"_L1) return call.createErrorReply(QDBusError::UnknownMethod, {});
    const QMap<QString, QVariantMap> settings{{u"org.freedesktop.appearance"_s, {{u"color-scheme"_s, 1U}}}};
    return call.createReply(QVariant::fromValue(settings));
  }

  ScriptedService service_;
};

TEST_F(DesktopTest, aSessionBusThatRestartsIsAskedForTheLooksAgain) {
  startDocked();
  const auto isDark = [this] {
    const auto pixel = desktop.picture({DesktopWorld::inside, QSize(1, 1)});
    return std::ranges::all_of(pixel.first(3), [](char part) { return static_cast<unsigned char>(part) < 128; });
  };
  const auto program = static_cast<pid_t>(zolvex().processId());
  desktop.computer.sessionBus.stop();
  ASSERT_EQ(kill(program, SIGSTOP), 0);  // it meets a bus with everything on it
  ASSERT_TRUE(desktop.computer.sessionBus.start());
  const DarkPortal portal(desktop.computer.sessionBus.address());
  ASSERT_EQ(kill(program, SIGCONT), 0);
  ASSERT_TRUE(zolvex().complains("start Zolvex again for screen readers"));
  desktop.click(DesktopWorld::icon);
  ASSERT_TRUE(desktop.isShown());
  EXPECT_TRUE(runUntil(isDark));
  expectQuietEnd();
}

TEST_F(DesktopTest, theVeryFirstStartOpensThePopoverAndLaterOnesDoNot) {
  ASSERT_TRUE(desktop.startZolvex());
  EXPECT_TRUE(desktop.isShown());
  expectQuietEnd();
  ASSERT_TRUE(desktop.startZolvex());
  ASSERT_TRUE(zolvex().complains("Launch: evaluating auto-connect"));  // long after it would have opened
  EXPECT_FALSE(desktop.isShownNow());
  expectQuietEnd();
}

TEST_F(DesktopTest, withoutAPanelASecondStartAndZolvexctlShowAWindow) {
  desktop.stopPanel();
  desktop.computer.writeSettings(setUp);
  ASSERT_TRUE(desktop.startZolvex());
  EXPECT_EQ(ProgramRun(QStringLiteral(ZOLVEX), {}, desktop.variables()).exitStatus(), 0);
  EXPECT_TRUE(desktop.isShown());
  desktop.press(u"Escape"_s);
  EXPECT_TRUE(desktop.isHidden());
  EXPECT_EQ(desktop.computer.control({u"show"_s}).exitStatus(), 0);
  EXPECT_TRUE(desktop.isShown());
  expectQuietEnd();
}

TEST_F(DesktopTest, thePanelMayComeLateAndRestart) {
  desktop.stopPanel();
  desktop.computer.writeSettings(setUp);
  ASSERT_TRUE(desktop.startZolvex());
  desktop.startPanel();
  ASSERT_TRUE(zolvex().complains(docked));
  waitForDock();
  desktop.stopPanel();
  ASSERT_TRUE(zolvex().complains("the panel with the status item is gone"));
  desktop.startPanel();
  waitForDock();
  expectQuietEnd();
}

TEST_F(DesktopTest, aDisplayThatDoesNotAnswerMeansNoWindows) {
  desktop.computer.writeSettings(setUp);
  auto variables = desktop.variables();
  variables.emplace_back(u"DISPLAY"_s, u":9999"_s);
  desktop.computer.zolvex.emplace(QStringLiteral(ZOLVEX), QStringList{}, variables);
  EXPECT_TRUE(zolvex().complains("no windows: no display answers"));
  EXPECT_TRUE(desktop.computer.isAnswering());
  EXPECT_EQ(desktop.computer.control({u"show"_s}).exitStatus(), 1);
  EXPECT_EQ(desktop.computer.end(), 0);
}

}  // namespace
}  // namespace zolvex::test
