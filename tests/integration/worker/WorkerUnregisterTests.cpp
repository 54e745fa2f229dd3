#include "integration/worker/WorkerLab.h"

#include <QTimer>

#include <chrono>

namespace zolvex::test {
namespace {

using namespace Qt::StringLiterals;

using WorkerUnregister = WorkerLab;

TEST_F(WorkerUnregister, removesTheBondOfAConnectedDeviceWithoutDisconnectingIt) {
  bond(mouse);
  radio.openLink(laptop, radio.addressOf(mouse));
  const auto result = unregister(mouse);
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.output, "Removed pairing\n");
  EXPECT_EQ(result.error, "");
  EXPECT_EQ(holder(mouse), QString());
  EXPECT_FALSE(answered.contains(u"Disconnect"_s));
}

TEST_F(WorkerUnregister, anUnknownDeviceIsNotFoundAtOnce) {
  const auto result = unregister(mouse);
  EXPECT_EQ(result.exitStatus, 66);
  EXPECT_EQ(result.error, "Device not found\n");
  EXPECT_FALSE(answered.contains(u"StartDiscovery"_s));
}

TEST_F(WorkerUnregister, aLostReplyIsMadeUpForByTheAnnouncement) {
  bond(mouse);
  inject(u"remove-reply-lost"_s);
  const auto result = unregister(mouse);
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.output, "Removed pairing\n");
  EXPECT_EQ(holder(mouse), QString());
}

TEST_F(WorkerUnregister, aRemovalThatHangsIsNotClaimed) {
  bond(mouse);
  inject(u"hangs-on-remove"_s);
  const auto result = unregister(mouse);
  EXPECT_EQ(result.exitStatus, 70);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.error, "Remove selector unavailable\n");
  EXPECT_GE(result.milliseconds, 6'000);
  EXPECT_EQ(holder(mouse), laptop);
}

// The daemon withdraws the devices of an adapter that goes, and they keep their bonds.
TEST_F(WorkerUnregister, aDeviceThatIsWithdrawnWithItsAdapterIsNotClaimed) {
  bond(mouse);
  inject(u"hangs-on-remove"_s);
  static constexpr std::chrono::milliseconds untilRemovalRuns{300};
  afterAnswer(u"GetManagedObjects"_s, 1, [this] {
    QTimer::singleShot(untilRemovalRuns, bluez.get(), [this] { inject(u"adapter-unplugged"_s); });
  });
  const auto result = unregister(mouse);
  EXPECT_EQ(result.exitStatus, 70);
  EXPECT_EQ(holder(mouse), laptop);
}

TEST_F(WorkerUnregister, withTheAdapterOffTheBondStays) {
  bond(mouse);
  inject(u"adapter-off"_s);
  const auto result = unregister(mouse);
  EXPECT_EQ(result.exitStatus, 69);
  EXPECT_EQ(result.error, "Bluetooth is off\n");
  EXPECT_EQ(holder(mouse), laptop);
}

TEST_F(WorkerUnregister, anAdapterThatIsSwitchedOffMeanwhileKeepsTheBond) {
  bond(mouse);
  afterAnswer(u"GetManagedObjects"_s, 1, [this] { inject(u"adapter-off"_s); });
  const auto result = unregister(mouse);
  EXPECT_EQ(result.exitStatus, 70);
  EXPECT_EQ(holder(mouse), laptop);
}

// The device is not known any more then, but nobody has removed it.
TEST_F(WorkerUnregister, anAdapterThatIsUnpluggedMeanwhileKeepsTheBond) {
  bond(mouse);
  afterAnswer(u"GetManagedObjects"_s, 1, [this] { inject(u"adapter-unplugged"_s); });
  const auto result = unregister(mouse);
  EXPECT_EQ(result.exitStatus, 70);
  EXPECT_EQ(holder(mouse), laptop);
}

TEST_F(WorkerUnregister, aDaemonThatDiesOfItHasRemovedNothing) {
  bond(mouse);
  inject(u"daemon-restarts"_s);
  const auto result = unregister(mouse);
  EXPECT_EQ(result.exitStatus, 70);
  EXPECT_EQ(result.output, "");
  EXPECT_LT(result.milliseconds, 5'000);
  EXPECT_EQ(holder(mouse), laptop);
}

}  // namespace
}  // namespace zolvex::test
