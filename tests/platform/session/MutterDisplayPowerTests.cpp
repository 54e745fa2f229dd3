#include "platform/linux/BusService.h"
#include "platform/linux/MutterDisplayPower.h"
#include "platform/session/SessionWorld.h"
#include "support/ProgramRun.h"
#include "support/ScriptedService.h"

#include <QDBusVariant>
#include <QDir>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <optional>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

const auto serviceName = u"org.gnome.Mutter.DisplayConfig"_s;
const auto objectPath = u"/org/gnome/Mutter/DisplayConfig"_s;
const auto propertiesInterface = u"org.freedesktop.DBus.Properties"_s;

struct MutterDisplayPowerTest : SessionWorld {
  /// A stand-in, until it has been asked.
  void start() {
    standIn.emplace(bus.address(), serviceName, [this](const QDBusMessage& call) {
      return call.createReply(QVariant::fromValue(QDBusVariant(powerSaveMode)));
    });
    connectLink();
    ASSERT_TRUE(runUntil([&] { return standIn->calls().size() == 1; }));
    EXPECT_EQ(standIn->calls()[0].arguments(), (QVariantList{serviceName, u"PowerSaveMode"_s}));
  }
  void announce(const QVariantMap& changed, const QStringList& invalidated = {}) {
    auto signal = QDBusMessage::createSignal(objectPath, propertiesInterface, u"PropertiesChanged"_s);
    standIn->connection().send(signal << serviceName << changed << invalidated);
  }
  void setMode(int mode) {
    powerSaveMode = mode;
    announce({{u"PowerSaveMode"_s, mode}});
  }

  const Events offAndOn{SessionEvent::displayDidSleep, SessionEvent::displayDidWake};

  BusService service{queue, link, serviceName, Logger("SessionEvents")};
  MutterDisplayPower power{service, events.displayOff()};
  std::optional<ScriptedService> standIn;
  int powerSaveMode = 0;
};

TEST_F(MutterDisplayPowerTest, everyModeButOnIsOffAndToldOnce) {
  start();
  for (const int mode : {1, 2, 3, 0}) setMode(mode);
  EXPECT_TRUE(recorder.become(offAndOn));
}

TEST_F(MutterDisplayPowerTest, anUnknownModeIsNotOff) {
  start();
  setMode(3);
  setMode(-1);
  EXPECT_TRUE(recorder.become(offAndOn));
}

TEST_F(MutterDisplayPowerTest, aDisplayThatIsOffAtTheStartIsNoEvent) {
  powerSaveMode = 3;
  start();
  setMode(0);
  EXPECT_TRUE(recorder.become({SessionEvent::displayDidWake}));
}

TEST_F(MutterDisplayPowerTest, asksWhenOnlyTheFactOfAChangeIsTold) {
  start();
  powerSaveMode = 3;
  announce({}, {u"PowerSaveMode"_s});
  EXPECT_TRUE(recorder.become({SessionEvent::displayDidSleep}));
}

TEST_F(MutterDisplayPowerTest, changesOfOtherPropertiesDoNotMatter) {
  start();
  announce({{u"PanelOrientationManaged"_s, true}}, {u"NightLightSupported"_s});
  setMode(3);
  EXPECT_TRUE(recorder.become({SessionEvent::displayDidSleep}));
  EXPECT_EQ(standIn->calls().size(), 1u);
}

/// The real one, without any hardware.
struct RealMutterTest : SessionWorld {
  void SetUp() override {
    const auto program = QStandardPaths::findExecutable(u"mutter"_s);
    if (program.isEmpty()) GTEST_SKIP() << "mutter is not installed (Debian package mutter)";
    mutter.emplace(program, QStringList{u"--headless"_s, u"--wayland"_s, u"--no-x11"_s},
                   ProgramRun::Variables{{u"DBUS_SESSION_BUS_ADDRESS"_s, bus.address()},
                                         {u"DBUS_SYSTEM_BUS_ADDRESS"_s, bus.address()},
                                         {u"XDG_RUNTIME_DIR"_s, runtimeDirectory.path()}});
    connectLink();
    if (!runUntil([&] { return service.isPresent() || mutter->isEnded(); }) || mutter->isEnded())
      GTEST_SKIP() << "mutter does not run here: " << mutter->errors();
  }
  void setMode(int mode) {
    auto call = QDBusMessage::createMethodCall(serviceName, objectPath, u"org.freedesktop.DBus.Properties"_s, u"Set"_s);
    call << serviceName << u"PowerSaveMode"_s << QVariant::fromValue(QDBusVariant(mode));
    link.connection().send(call);
  }

  QTemporaryDir runtimeDirectory;
  BusService service{queue, link, serviceName, Logger("SessionEvents")};
  MutterDisplayPower power{service, events.displayOff()};
  std::optional<ProgramRun> mutter;
};

TEST_F(RealMutterTest, tellsWhenMutterSwitchesTheDisplaysOffAndOn) {
  setMode(3);
  EXPECT_TRUE(recorder.become({SessionEvent::displayDidSleep}));
  setMode(0);
  EXPECT_TRUE(recorder.become({SessionEvent::displayDidSleep, SessionEvent::displayDidWake}));
}

}  // namespace
}  // namespace zolvex::test
