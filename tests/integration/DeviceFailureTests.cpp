#include "integration/TwoComputers.h"

namespace zolvex::lab {
namespace {

using namespace Qt::StringLiterals;

class BadDevice : public TwoComputers {
 protected:
  void inject(const QString& fault) { radio().inject(*Fault::parse(fault)); }

  void expectPartOfTheDevicesComes() {
    studio().control().connectToThisMac(true);
    EXPECT_TRUE(waitUntil([&] { return devicesOf(studio()) == deviceCount() - 1; }, thorough));
    EXPECT_TRUE(comesToRest());
    EXPECT_TRUE(waitForState(studio(), "partiallyThisMac"));
    EXPECT_EQ(devicesOf(studio()), deviceCount() - 1);
  }
};

TEST_F(BadDevice, refusingToPairLeavesTheOthersHere) {
  inject(u"refuses-pairing:Magic Mouse@Studio"_s);
  expectPartOfTheDevicesComes();
  EXPECT_EQ(radio().holder(radio().addressOf(u"Magic Mouse"_s)), QString());
  EXPECT_TRUE(nextSwitchWorks(studio()));
}

TEST_F(BadDevice, connectingOnTheThirdAttemptComesInOneSwitch) {
  inject(u"third-attempt:Magic Trackpad@Studio"_s);
  studio().control().connectToThisMac(true);
  EXPECT_TRUE(waitUntil([&] { return devicesOf(studio()) == deviceCount(); }, thorough));
  EXPECT_TRUE(comesToRest());
  EXPECT_TRUE(nextSwitchWorks(laptop()));
}

TEST_F(BadDevice, workerThatHangsInAConnectIsEnded) {
  inject(u"hangs-on-connect:Magic Keyboard@Studio"_s);
  expectPartOfTheDevicesComes();
  EXPECT_EQ(logged(studio(), u"Bluetooth worker timed out during connect"_s), 1);
  EXPECT_TRUE(nextSwitchWorks(studio()));
}

TEST_F(BadDevice, removalThatHangsFailsTheRelease) {
  inject(u"hangs-on-remove:Magic Mouse@Laptop"_s);
  expectPartOfTheDevicesComes();
  EXPECT_EQ(logged(laptop(), u"unregister: failed Magic Mouse"_s), 1);
  EXPECT_EQ(logged(laptop(), u"PLEASE_RELEASE: release may have failed"_s), 1);
  EXPECT_EQ(radio().holder(radio().addressOf(u"Magic Mouse"_s)), u"Laptop"_s);
  EXPECT_TRUE(nextSwitchWorks(laptop()));
}

TEST_F(BadDevice, lostReplyOfARemovalIsNoFailure) {
  inject(u"remove-reply-lost:Magic Mouse@Laptop"_s);
  studio().control().connectToThisMac(true);
  EXPECT_TRUE(waitUntil([&] { return devicesOf(studio()) == deviceCount(); }, thorough));
  EXPECT_TRUE(comesToRest());
  EXPECT_EQ(logged(laptop(), u"PLEASE_RELEASE: released successfully"_s), 1);
}

TEST_F(BadDevice, adapterThatIsOffFailsTheSwitchUntilItIsOn) {
  inject(u"adapter-off@Studio"_s);
  studio().control().connectToThisMac(true);
  EXPECT_TRUE(waitForResult(studio(), "Turn the device off and on, then try again.", thorough));
  EXPECT_TRUE(comesToRest());
  EXPECT_TRUE(waitForState(studio(), "failed"));
  EXPECT_EQ(devicesOf(studio()), 0);
  EXPECT_TRUE(nextSwitchWorks(studio()));
}

}  // namespace
}  // namespace zolvex::lab
