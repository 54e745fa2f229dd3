#include "lab/Radio.h"

#include <gtest/gtest.h>

namespace zolvex::lab {
namespace {

using namespace Qt::StringLiterals;

const auto laptop = u"Laptop"_s;
const auto studio = u"Studio"_s;

class RadioTest : public testing::Test {
 protected:
  RadioTest() {
    for (const auto& device : magicDevices()) radio.addDevice(device);
    QObject::connect(&radio, &Radio::changed, [this](const QString& address) { changes.append(address); });
    mouse = radio.addressOf(u"Magic Mouse"_s);
  }

  Radio radio;
  QString mouse;
  QStringList changes;
};

TEST_F(RadioTest, devicesAreFoundByNameAndByAddressInAnyNotation) {
  EXPECT_EQ(radio.addressOf(u"magic mouse"_s), mouse);
  EXPECT_EQ(radio.addressOf(u"02-5a-00-00-00-03"_s), mouse);
  EXPECT_EQ(radio.addressOf(u"Magic Stylus"_s), QString());
  EXPECT_EQ(radio.addresses().size(), 3);
}

TEST_F(RadioTest, everyComputerKeepsAnAdapterAddressOfItsOwn) {
  const auto first = radio.adapterAddressFor(laptop);
  EXPECT_NE(radio.adapterAddressFor(studio), first);
  EXPECT_EQ(radio.adapterAddressFor(laptop), first);
}

TEST_F(RadioTest, bondedDeviceIsInvisibleToOthersUntilReleased) {
  EXPECT_EQ(radio.bond(laptop, mouse), RadioAnswer::accepted);
  EXPECT_TRUE(radio.isReachable(laptop, mouse));
  EXPECT_FALSE(radio.isReachable(studio, mouse));
  EXPECT_EQ(radio.bond(studio, mouse), RadioAnswer::unreachable);
  EXPECT_EQ(radio.openLink(studio, mouse), RadioAnswer::unreachable);
  radio.release(laptop, mouse);
  EXPECT_EQ(radio.bond(studio, mouse), RadioAnswer::accepted);
  EXPECT_EQ(radio.holder(mouse), studio);
}

TEST_F(RadioTest, connectedDeviceIsInvisibleToOthersUntilDisconnected) {
  EXPECT_EQ(radio.openLink(laptop, mouse), RadioAnswer::accepted);
  EXPECT_FALSE(radio.isReachable(studio, mouse));
  radio.closeLink(laptop, mouse);
  EXPECT_TRUE(radio.isReachable(studio, mouse));
}

TEST_F(RadioTest, releaseByAnotherComputerChangesNothing) {
  radio.bond(laptop, mouse);
  radio.openLink(laptop, mouse);
  changes.clear();
  radio.release(studio, mouse);
  radio.closeLink(studio, mouse);
  EXPECT_EQ(radio.holder(mouse), laptop);
  EXPECT_EQ(radio.connectedTo(mouse), laptop);
  EXPECT_TRUE(changes.isEmpty());
}

TEST_F(RadioTest, releaseEndsBondAndLinkAndTellsOnce) {
  radio.bond(laptop, mouse);
  radio.openLink(laptop, mouse);
  changes.clear();
  radio.release(laptop, mouse);
  EXPECT_EQ(radio.holder(mouse), QString());
  EXPECT_EQ(radio.connectedTo(mouse), QString());
  EXPECT_EQ(changes, QStringList{mouse});
}

TEST_F(RadioTest, closingLinksKeepsBonds) {
  radio.bond(laptop, mouse);
  radio.openLink(laptop, mouse);
  radio.closeLinks(laptop);
  EXPECT_EQ(radio.connectedTo(mouse), QString());
  EXPECT_EQ(radio.holder(mouse), laptop);
}

TEST_F(RadioTest, unknownDeviceIsUnreachable) {
  EXPECT_EQ(radio.bond(laptop, u"02:5A:00:00:00:99"_s), RadioAnswer::unreachable);
}

TEST_F(RadioTest, deviceThatFallsAsleepLosesItsLinkAndWakesAgain) {
  radio.bond(laptop, mouse);
  radio.openLink(laptop, mouse);
  const Fault asleep{FaultKind::asleep, u"Magic Mouse"_s};
  radio.inject(asleep);
  EXPECT_EQ(radio.connectedTo(mouse), QString());
  EXPECT_EQ(radio.openLink(laptop, mouse), RadioAnswer::unreachable);
  radio.lift(asleep);
  EXPECT_EQ(radio.openLink(laptop, mouse), RadioAnswer::accepted);
}

TEST_F(RadioTest, faultBefallsOnlyItsDeviceAndComputer) {
  radio.inject({FaultKind::outOfRange, mouse, studio});
  EXPECT_FALSE(radio.isReachable(studio, mouse));
  EXPECT_TRUE(radio.isReachable(laptop, mouse));
  EXPECT_TRUE(radio.isReachable(studio, radio.addressOf(u"Magic Keyboard"_s)));
}

TEST_F(RadioTest, faultOfADeviceThatDoesNotExistBefallsNone) {
  radio.inject({FaultKind::asleep, u"Magic Stylus"_s});
  EXPECT_TRUE(radio.isReachable(studio, mouse));
}

TEST_F(RadioTest, thirdAttemptConnectsAndSoDoLaterOnes) {
  radio.inject({FaultKind::thirdAttempt});
  EXPECT_EQ(radio.openLink(laptop, mouse), RadioAnswer::missed);
  EXPECT_EQ(radio.openLink(laptop, mouse), RadioAnswer::missed);
  EXPECT_EQ(radio.openLink(laptop, mouse), RadioAnswer::accepted);
  radio.closeLink(laptop, mouse);
  EXPECT_EQ(radio.openLink(laptop, mouse), RadioAnswer::accepted);
}

TEST_F(RadioTest, pairingIsRefusedOrWantsAPasskey) {
  radio.inject({FaultKind::wantsPasskey});
  EXPECT_EQ(radio.bond(laptop, mouse), RadioAnswer::passkeyWanted);
  EXPECT_EQ(radio.holder(mouse), QString());
  EXPECT_EQ(radio.bond(laptop, mouse, true), RadioAnswer::accepted);
  radio.release(laptop, mouse);
  radio.inject({FaultKind::refusesPairing});
  EXPECT_EQ(radio.bond(laptop, mouse, true), RadioAnswer::refused);
}

TEST_F(RadioTest, spentFaultStrikesAgainOnlyWhenInjectedAgain) {
  radio.inject({FaultKind::daemonRestarts});
  radio.spend(FaultKind::daemonRestarts, laptop, mouse);
  EXPECT_FALSE(radio.suffers(FaultKind::daemonRestarts, laptop, mouse));
  EXPECT_TRUE(radio.suffers(FaultKind::daemonRestarts, studio, mouse));
  radio.inject({FaultKind::daemonRestarts});
  EXPECT_TRUE(radio.suffers(FaultKind::daemonRestarts, laptop, mouse));
}

TEST_F(RadioTest, everyChangeOfFaultsIsAnnouncedForAllDevices) {
  int announcements = 0;
  QObject::connect(&radio, &Radio::faultsChanged, [&] { ++announcements; });
  radio.inject({FaultKind::asleep});
  radio.liftAll();
  EXPECT_EQ(announcements, 2);
  EXPECT_EQ(changes.size(), 2 * radio.addresses().size());
}

TEST_F(RadioTest, sleepingComputerKeepsItsBondsAndReachesNothing) {
  radio.bond(laptop, mouse);
  radio.openLink(laptop, mouse);
  radio.setAsleep(laptop, true);
  EXPECT_EQ(radio.holder(mouse), laptop);
  EXPECT_EQ(radio.connectedTo(mouse), QString());
  EXPECT_EQ(radio.openLink(laptop, mouse), RadioAnswer::unreachable);
  EXPECT_EQ(radio.bond(studio, mouse), RadioAnswer::unreachable);
  radio.setAsleep(laptop, false);
  EXPECT_EQ(radio.openLink(laptop, mouse), RadioAnswer::accepted);
}

TEST_F(RadioTest, whatASleepingComputerLetGoIsFree) {
  radio.bond(laptop, mouse);
  radio.release(laptop, mouse);
  radio.setAsleep(laptop, true);
  EXPECT_EQ(radio.bond(laptop, mouse), RadioAnswer::unreachable);
  EXPECT_EQ(radio.bond(studio, mouse), RadioAnswer::accepted);
}

}  // namespace
}  // namespace zolvex::lab
