#include "integration/worker/ScriptedBluez.h"

namespace zolvex::test {
namespace {

using namespace Qt::StringLiterals;

const auto inProgress = u"org.bluez.Error.InProgress"_s;

/// The worker waits for what another program has begun, and the adapter is unplugged meanwhile: the device goes with
/// it, and BlueZ answers nothing of what runs.
class WorkerInProgress : public ScriptedBluez {
 protected:
  void unplug() {
    scriptSnapshots({BluezSnapshot{}});
    withdraw(mousePath, deviceInterface);
  }
  void expectFiveAttemptsWithoutWaiting() {
    const auto result = run(u"connect"_s);
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.output.count("Attempt "), 5);
    EXPECT_EQ(result.error, "Connect failed\n");
    EXPECT_LT(result.milliseconds, 11'000);  // five pauses of a second, and not the 8 s that it waits otherwise
  }
};

TEST_F(WorkerInProgress, anAdapterThatIsUnpluggedDuringTheConnectionEndsTheWait) {
  scriptSnapshots({together(adapterAt(adapter), mouse())});
  script(u"Connect"_s, {[](const QDBusMessage& call) { return fail(call, inProgress); },
                        [this](const QDBusMessage&) {
                          unplug();
                          return silence();
                        }});
  expectFiveAttemptsWithoutWaiting();
}

TEST_F(WorkerInProgress, anAdapterThatIsUnpluggedBetweenTwoLooksAtTheConnectionEndsTheWait) {
  scriptSnapshots({together(adapterAt(adapter), mouse())});
  script(u"Connect"_s, {[this](const QDBusMessage& call) {
                          unplug();
                          return fail(call, inProgress);
                        },
                        [](const QDBusMessage&) { return silence(); }});
  expectFiveAttemptsWithoutWaiting();
}

TEST_F(WorkerInProgress, anAdapterThatIsUnpluggedDuringThePairingEndsTheWait) {
  scriptSnapshots({together(adapterAt(adapter), mouse(false))});
  script(u"Pair"_s, {[](const QDBusMessage& call) { return fail(call, inProgress); }});
  script(u"Get"_s, {[](const QDBusMessage& call) { return fail(call, u"org.freedesktop.DBus.Error.InvalidArgs"_s); },
                    [this](const QDBusMessage& call) {
                      unplug();
                      return fail(call, u"org.freedesktop.DBus.Error.InvalidArgs"_s);
                    }});
  expectFiveAttemptsWithoutWaiting();
}

}  // namespace
}  // namespace zolvex::test
