#include "integration/worker/ScriptedBluez.h"

#include <QTimer>

namespace zolvex::test {
namespace {

using namespace Qt::StringLiterals;

const auto unknownObject = u"org.freedesktop.DBus.Error.UnknownObject"_s;

/// When a removal may be claimed, and when not.
class WorkerRemoval : public ScriptedBluez {
 protected:
  void SetUp() override {
    ScriptedBluez::SetUp();
    scriptSnapshots({together(adapterAt(adapter), mouse()), adapterAt(adapter)});
  }

  /// The call is never answered, but the device is withdrawn.
  void withdrawOnRemoval() {
    script(u"RemoveDevice"_s, {[this](const QDBusMessage&) {
             withdraw(mousePath, deviceInterface);
             return silence();
           }});
  }
  /// What happens when the worker looks whether the device is gone.
  void scriptLook(const ScriptedService::Answer& look) {
    script(u"GetManagedObjects"_s,
           {[](const QDBusMessage& call) { return reply(call, together(adapterAt(adapter), mouse())); }, look});
  }
  void expectNotClaimed() {
    const auto result = run(u"unregister"_s);
    EXPECT_EQ(result.exitStatus, 70);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error, "Remove selector unavailable\n");
    EXPECT_LT(result.milliseconds, clientLimit);
  }
  void expectClaimed() {
    const auto result = run(u"unregister"_s);
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.output, "Removed pairing\n");
    EXPECT_LT(result.milliseconds, clientLimit);
  }

  /// Then the worker is ended.
  static constexpr int clientLimit = 8'000;

  QObject timers;
};

TEST_F(WorkerRemoval, isClaimedWhenTheCallReturns) {
  expectClaimed();
  EXPECT_EQ(countOf(u"RemoveDevice"_s), 1);
}

TEST_F(WorkerRemoval, isClaimedWhenTheDaemonNeverKnewTheDevice) {
  script(u"RemoveDevice"_s, {[](const QDBusMessage& call) { return fail(call, u"org.bluez.Error.DoesNotExist"_s); }});
  expectClaimed();
}

TEST_F(WorkerRemoval, isNotClaimedOfAnAdapterThatGoesJustAfterTheLook) {
  scriptSnapshots({together(adapterAt(adapter), mouse()), {}});
  script(u"RemoveDevice"_s, {[](const QDBusMessage& call) { return fail(call, unknownObject); }});
  expectNotClaimed();
}

TEST_F(WorkerRemoval, isNotClaimedOfADaemonThatHangsJustAfterTheLook) {
  scriptLook([](const QDBusMessage&) { return silence(); });
  script(u"RemoveDevice"_s, {[](const QDBusMessage&) { return silence(); }});
  expectNotClaimed();
}

TEST_F(WorkerRemoval, isNotClaimedWhenTheAdapterThatHasTheBondGoesAndAnotherOneStays) {
  const auto other = adapterAt(u"/org/bluez/hci1"_s);
  const auto both = together(together(adapterAt(adapter), mouse()), other);
  scriptSnapshots({both, both, other});
  script(u"RemoveDevice"_s, {[](const QDBusMessage& call) { return fail(call, unknownObject); }});
  expectNotClaimed();
}

TEST_F(WorkerRemoval, asksNobodyWhenTheDaemonMakesNoSense) {
  for (const auto& snapshot : {BluezSnapshot{}, mouse(), together(adapterAt(adapter, false), mouse())}) {
    scriptSnapshots({snapshot});
    EXPECT_EQ(run(u"unregister"_s).exitStatus, 69);
  }
  script(u"GetManagedObjects"_s, {[](const QDBusMessage& call) { return call.createReply(u"nonsense"_s); }});
  EXPECT_EQ(run(u"unregister"_s).exitStatus, 69);
  script(u"GetManagedObjects"_s, {[](const QDBusMessage& call) { return fail(call, unknownObject); }});
  EXPECT_EQ(run(u"unregister"_s).exitStatus, 69);
  EXPECT_EQ(countOf(u"RemoveDevice"_s), 0);
}

TEST_F(WorkerRemoval, ofWhatIsNoAddressFindsTheAdapterOffBeforeItFindsNothing) {
  scriptSnapshots({adapterAt(adapter, false)});
  EXPECT_EQ(run(u"unregister"_s, "Magic Mouse").exitStatus, 69);
  scriptSnapshots({adapterAt(adapter)});
  EXPECT_EQ(run(u"unregister"_s, "Magic Mouse").exitStatus, 66);
}

TEST_F(WorkerRemoval, isClaimedWhenOnlyTheDeviceIsWithdrawn) {
  withdrawOnRemoval();
  expectClaimed();
}

// Somebody else looks for devices and finds this one again, a stranger now.
TEST_F(WorkerRemoval, isClaimedWhenTheDeviceIsBackWithoutABond) {
  withdrawOnRemoval();
  scriptLook([](const QDBusMessage& call) { return reply(call, together(adapterAt(adapter), mouse(false))); });
  expectClaimed();
}

TEST_F(WorkerRemoval, isNotClaimedWhenTheDeviceIsBackWithItsBond) {
  withdrawOnRemoval();
  scriptLook([](const QDBusMessage& call) { return reply(call, together(adapterAt(adapter), mouse())); });
  expectNotClaimed();
}

TEST_F(WorkerRemoval, isClaimedWhenTheDaemonIsSilentOnceItHasWithdrawnTheDevice) {
  withdrawOnRemoval();
  scriptLook([](const QDBusMessage&) { return silence(); });
  expectClaimed();
}

TEST_F(WorkerRemoval, isNotClaimedWhenTheDaemonWithdrawsTheAdapterAndIsSilent) {
  withdrawOnRemoval();
  scriptLook([this](const QDBusMessage&) {
    withdraw(adapter, adapterInterface);
    return silence();
  });
  expectNotClaimed();
}

TEST_F(WorkerRemoval, isNotClaimedWhenTheDaemonEndsOnceItHasWithdrawnTheDevice) {
  withdrawOnRemoval();
  scriptLook([this](const QDBusMessage&) {
    QTimer::singleShot(0, &timers, [this] { service.reset(); });
    return silence();
  });
  expectNotClaimed();
}

TEST_F(WorkerRemoval, isNotClaimedWhenTheBusEndsOnceTheDeviceIsWithdrawn) {
  withdrawOnRemoval();
  scriptLook([this](const QDBusMessage&) {
    QTimer::singleShot(0, &timers, [this] { bus.stop(); });
    return silence();
  });
  expectNotClaimed();
}

}  // namespace
}  // namespace zolvex::test
