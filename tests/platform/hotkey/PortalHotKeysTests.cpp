#include "platform/hotkey/ControlAltD.h"
#include "platform/hotkey/FakePortal.h"
#include "platform/linux/hotkey/PortalHotKeys.h"
#include "platform/session/SessionWorld.h"
#include "support/ProgramRun.h"

#include <QDBusArgument>
#include <gtest/gtest.h>

#include <optional>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

struct PortalHotKeysTest : SessionWorld {
  PortalHotKeysTest() {
    loss = hotKeys.lost.observe([this] { ++losses; });
    hotKeys.installHandler([this](const HotKeyIdentifier& identifier) { pressed.push_back(identifier); });
  }
  void serve(FakePortal::Manners manners = {}) {
    portal.emplace(bus.address(), manners);
    ASSERT_TRUE(portal->isRegistered());
  }
  void ask() {
    outcome.reset();
    hotKeys.registerHotKey(controlAltD, [this](const HotKeys::Outcome& answer) { outcome = answer; });
  }
  [[nodiscard]] bool getsAnswer() {
    return runUntil([this] { return outcome.has_value(); });
  }
  void registerOn(FakePortal::Manners manners) {
    serve(manners);
    connectLink();
    ask();
    ASSERT_TRUE(getsAnswer());
    EXPECT_EQ(outcome->status, HotKeys::noError);
  }
  [[nodiscard]] bool calls(const QString& method, int times) {
    return runUntil([&] { return portal->count(method) == times; });
  }

  PortalHotKeys hotKeys{queue, link};
  std::optional<FakePortal> portal;
  std::optional<HotKeys::Outcome> outcome;
  std::vector<HotKeyIdentifier> pressed;
  int losses = 0;
  Subscription loss;
};

TEST_F(PortalHotKeysTest, introducesItselfThenAsksForTheKeyByItsName) {
  registerOn({});
  EXPECT_EQ(portal->call(u"Register"_s).arguments().at(0).toString(), u"quenmar.zolvex.app"_s);
  const auto binding = portal->call(u"BindShortcuts"_s);
  EXPECT_EQ(binding.signature(), u"oa(sa{sv})sa{sv}"_s);
  const auto list = binding.arguments().at(1).value<QDBusArgument>();
  QString id;
  QVariantMap options;
  list.beginArray();
  list.beginStructure();
  list >> id >> options;
  list.endStructure();
  list.endArray();
  EXPECT_EQ(id, u"ZLVX-1"_s);
  EXPECT_EQ(options[u"preferred_trigger"_s].toString(), u"CTRL+ALT+d"_s);
  EXPECT_EQ(options[u"description"_s].toString(), u"Switch the devices to this computer"_s);
}

TEST_F(PortalHotKeysTest, hearsTheKey) {
  registerOn({});
  portal->activate(u"ZLVX-1"_s);
  ASSERT_TRUE(runUntil([&] { return pressed.size() == 1; }));
  EXPECT_EQ(pressed.front(), controlAltD.identifier);
}

TEST_F(PortalHotKeysTest, tellsOtherShortcutsByTheirNamesAndNothingOfOtherSessions) {
  registerOn({});
  portal->activate(u"ZLVX-1"_s, u"/org/freedesktop/portal/desktop/session/1_1/other"_s);
  portal->activate(u"ZLVX-2"_s);
  portal->activate(u"nonsense"_s);
  portal->activate(u"ZLVX-1"_s);
  ASSERT_TRUE(runUntil([&] { return pressed.size() == 3; }));
  EXPECT_EQ(pressed[0], (HotKeyIdentifier{"ZLVX", 2}));
  EXPECT_FALSE(pressed[1] == controlAltD.identifier);
  EXPECT_EQ(pressed[2], controlAltD.identifier);
}

TEST_F(PortalHotKeysTest, anOldPortalIsUnderstood) {
  registerOn({.knowsPrograms = false, .isOldFashioned = true});
  portal->activate(u"ZLVX-1"_s);
  EXPECT_TRUE(runUntil([&] { return pressed.size() == 1; }));
}

TEST_F(PortalHotKeysTest, aPortalThatComesLateIsWaitedFor) {
  connectLink();
  ask();
  ASSERT_TRUE(logs("no org.freedesktop.portal.Desktop yet, waiting for it"));
  EXPECT_FALSE(outcome);
  serve();
  ASSERT_TRUE(getsAnswer());
  EXPECT_EQ(outcome->status, HotKeys::noError);
}

TEST_F(PortalHotKeysTest, aPortalThatNobodyHasNeededYetIsStartedOnce) {
  ProgramRun monitor(u"dbus-monitor"_s, {u"--address"_s, bus.address(), u"member='StartServiceByName'"_s});
  ASSERT_TRUE(monitor.prints("NameAcquired"));
  connectLink();
  ask();
  ASSERT_TRUE(logs("no org.freedesktop.portal.Desktop yet, waiting for it"));
  ask();
  settle();
  ASSERT_TRUE(monitor.prints("StartServiceByName\n   string \"org.freedesktop.portal.Desktop\""));
  const auto printed = monitor.output();
  EXPECT_EQ(printed.find("StartServiceByName"), printed.rfind("StartServiceByName"));
}

TEST_F(PortalHotKeysTest, withoutAWishForAHotKeyNoPortalIsStarted) {
  ProgramRun monitor(u"dbus-monitor"_s, {u"--address"_s, bus.address()});
  ASSERT_TRUE(monitor.prints("NameAcquired"));
  connectLink();
  ASSERT_TRUE(logs("no org.freedesktop.portal.Desktop yet, waiting for it"));
  settle();
  ASSERT_TRUE(monitor.prints("member=GetId"));
  EXPECT_EQ(monitor.output().find("StartServiceByName"), std::string::npos);
}

TEST_F(PortalHotKeysTest, aDesktopWithoutGlobalShortcutsRefusesAndIsNotAskedAgain) {
  serve({.knowsShortcuts = false});
  connectLink();
  ask();
  ASSERT_TRUE(getsAnswer());
  EXPECT_EQ(outcome->status, PortalRequest::callFailed);
  EXPECT_FALSE(outcome->isHeldByAnother);
  EXPECT_TRUE(log.contains("the desktop gives no global shortcut: No such interface"));
  ask();
  settle();
  EXPECT_EQ(portal->count(u"CreateSession"_s), 1);
  EXPECT_FALSE(outcome);
}

TEST_F(PortalHotKeysTest, aPortalThatGivesShortcutsOnlyToInstalledProgramsIsQuoted) {
  serve({.knowsUs = false});
  connectLink();
  ask();
  ASSERT_TRUE(getsAnswer());
  EXPECT_EQ(outcome->status, PortalRequest::callFailed);
  EXPECT_TRUE(log.contains("the desktop does not know this program: App info not found"));
  EXPECT_TRUE(log.contains("the desktop gives no global shortcut: An app id is required"));
}

TEST_F(PortalHotKeysTest, aUserWhoRefusesIsAskedAgainOnlyAfterTheHotKeyWasGivenUp) {
  serve({.decision = 1});
  connectLink();
  ask();
  ASSERT_TRUE(getsAnswer());
  EXPECT_EQ(outcome->status, PortalRequest::cancelledByUser);
  EXPECT_TRUE(calls(u"Close"_s, 1)) << "the session";
  ask();
  settle();
  EXPECT_EQ(portal->count(u"BindShortcuts"_s), 1);
  portal->manners.decision = 0;
  hotKeys.unregisterHotKey();
  ask();
  ASSERT_TRUE(getsAnswer());
  EXPECT_EQ(outcome->status, HotKeys::noError);
}

TEST_F(PortalHotKeysTest, aUserMayTakeTheirTime) {
  serve({.decides = false});
  connectLink();
  ask();
  ASSERT_TRUE(calls(u"BindShortcuts"_s, 1));
  queue.advance(PortalHotKeys::userLimit - Seconds(1));
  settle();
  EXPECT_FALSE(outcome);
  portal->decide(0);
  ASSERT_TRUE(getsAnswer());
  EXPECT_EQ(outcome->status, HotKeys::noError);
}

TEST_F(PortalHotKeysTest, aUserWhoNeverDecidesHasRefusedInTheEnd) {
  serve({.decides = false});
  connectLink();
  ask();
  ASSERT_TRUE(calls(u"BindShortcuts"_s, 1));
  queue.advance(PortalHotKeys::userLimit);
  ASSERT_TRUE(getsAnswer());
  EXPECT_EQ(outcome->status, PortalRequest::noAnswer);
  ASSERT_TRUE(calls(u"Close"_s, 2)) << "the question and the session";
  EXPECT_TRUE(portal->closed().front().contains(u"/request/"_s));
  EXPECT_EQ(portal->closed().back(), portal->session());
  portal->decide(0);
  settle();
  portal->activate(u"ZLVX-1"_s);
  settle();
  EXPECT_TRUE(pressed.empty());
}

TEST_F(PortalHotKeysTest, givingUpTakesTheQuestionToTheUserBack) {
  serve({.decides = false});
  connectLink();
  ask();
  ASSERT_TRUE(calls(u"BindShortcuts"_s, 1));
  hotKeys.unregisterHotKey();
  EXPECT_TRUE(calls(u"Close"_s, 2)) << "the question and the session";
  portal->decide(0);
  settle();
  EXPECT_FALSE(outcome);
}

TEST_F(PortalHotKeysTest, givingUpAHotKeyEndsItsSession) {
  registerOn({});
  hotKeys.unregisterHotKey();
  EXPECT_TRUE(calls(u"Close"_s, 1));
  portal->activate(u"ZLVX-1"_s);
  settle();
  EXPECT_TRUE(pressed.empty());
}

TEST_F(PortalHotKeysTest, aPortalThatRestartsLosesTheHotKeyAndIsAskedAnew) {
  registerOn({});
  portal.reset();
  ASSERT_TRUE(runUntil([&] { return losses == 1; }));
  ask();
  serve();
  ASSERT_TRUE(getsAnswer());
  EXPECT_EQ(portal->count(u"Register"_s), 1) << "it has to hear our name again";
  portal->activate(u"ZLVX-1"_s);
  EXPECT_TRUE(runUntil([&] { return pressed.size() == 1; }));
}

TEST_F(PortalHotKeysTest, aPortalThatRestartsWhileItDecidesIsAskedAnew) {
  serve({.decides = false});
  connectLink();
  ask();
  ASSERT_TRUE(calls(u"BindShortcuts"_s, 1));
  portal.reset();
  ASSERT_TRUE(logs("lost org.freedesktop.portal.Desktop, waiting for it"));
  serve();
  ASSERT_TRUE(getsAnswer());
  EXPECT_EQ(losses, 0);
}

TEST_F(PortalHotKeysTest, aPortalThatHasRefusedMayChangeItsMindWithARestart) {
  serve({.decision = 2});
  connectLink();
  ask();
  ASSERT_TRUE(getsAnswer());
  EXPECT_EQ(outcome->status, PortalRequest::endedOtherwise);
  ask();
  portal.reset();
  ASSERT_TRUE(logs("lost org.freedesktop.portal.Desktop, waiting for it"));
  serve();
  ASSERT_TRUE(getsAnswer());
  EXPECT_EQ(outcome->status, HotKeys::noError);
}

TEST_F(PortalHotKeysTest, aSessionThatTheDesktopEndsIsLostAndAskedForAfterARest) {
  registerOn({});
  portal->closeSession();
  ASSERT_TRUE(runUntil([&] { return losses == 1; }));
  EXPECT_TRUE(log.contains("the desktop has taken the global shortcut away"));
  ask();
  settle();
  EXPECT_EQ(portal->count(u"CreateSession"_s), 1);
  queue.advance(PortalHotKeys::retryInterval);
  ASSERT_TRUE(getsAnswer());
  EXPECT_EQ(portal->count(u"CreateSession"_s), 2);
}

TEST_F(PortalHotKeysTest, aPortalThatOpensNoSessionIsAskedAgain) {
  serve({.opensSessions = false});
  connectLink();
  ask();
  ASSERT_TRUE(calls(u"CreateSession"_s, 1));
  settle();
  queue.advance(PortalHotKeys::sessionLimit);
  portal->manners.opensSessions = true;
  queue.advance(PortalHotKeys::retryInterval);
  EXPECT_TRUE(getsAnswer());
}

TEST_F(PortalHotKeysTest, aSessionThatComesTooLateIsClosed) {
  serve({.opensSessions = false});
  connectLink();
  ask();
  ASSERT_TRUE(calls(u"CreateSession"_s, 1));
  settle();
  queue.advance(PortalHotKeys::sessionLimit);
  ASSERT_TRUE(calls(u"Close"_s, 1));
  EXPECT_TRUE(portal->closed().front().contains(u"/request/"_s)) << "the question is taken back";
  portal->openSession();
  ASSERT_TRUE(calls(u"Close"_s, 2));
  EXPECT_EQ(portal->closed().back(), portal->session());
  portal->manners.opensSessions = true;
  queue.advance(PortalHotKeys::retryInterval);
  ASSERT_TRUE(getsAnswer());
  EXPECT_EQ(portal->count(u"Close"_s), 2) << "the next one stays";
}

TEST_F(PortalHotKeysTest, aSessionThatComesAfterTheHotKeyWasGivenUpIsClosed) {
  serve({.opensSessions = false});
  connectLink();
  ask();
  ASSERT_TRUE(calls(u"CreateSession"_s, 1));
  hotKeys.unregisterHotKey();
  ASSERT_TRUE(calls(u"Close"_s, 1));
  portal->openSession();
  ASSERT_TRUE(calls(u"Close"_s, 2));
  EXPECT_EQ(portal->closed().back(), portal->session());
}

TEST_F(PortalHotKeysTest, aPortalThatNeverAnswersIsLoggedAndAskedAgain) {
  log.expectError("org.freedesktop.portal.Desktop does not answer");
  serve({.isSilent = true});
  connectLink();
  ask();
  ASSERT_TRUE(logs("org.freedesktop.portal.Desktop does not answer"));
  EXPECT_FALSE(outcome);
  portal->manners.isSilent = false;
  queue.advance(PortalHotKeys::retryInterval);
  ASSERT_TRUE(getsAnswer());
  EXPECT_EQ(outcome->status, HotKeys::noError);
  EXPECT_EQ(portal->count(u"BindShortcuts"_s), 1);
}

TEST_F(PortalHotKeysTest, mayEndAtAnyMoment) {
  serve({.decides = false});
  connectLink();
  for (const auto& method : {u"Register"_s, u"CreateSession"_s, u"BindShortcuts"_s}) {
    auto brief = std::make_unique<PortalHotKeys>(queue, link);
    brief->registerHotKey(controlAltD, [](const HotKeys::Outcome&) {});
    link.arrived.emit();  // it came too late for the real one
    const auto before = portal->count(method);
    ASSERT_TRUE(runUntil([&] { return portal->count(method) > before; }));
    brief.reset();
    settle();
  }
}

}  // namespace
}  // namespace zolvex::test
