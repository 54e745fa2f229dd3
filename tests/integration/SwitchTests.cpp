#include "integration/TwoComputers.h"

namespace zolvex::lab {
namespace {

using namespace Qt::StringLiterals;

using Switch = TwoComputers;

TEST_F(Switch, takesEveryDeviceFromThePeerAndBack) {
  studio().control().connectToThisMac(true);
  EXPECT_TRUE(waitUntil([&] { return devicesOf(studio()) == deviceCount(); }, thorough));
  EXPECT_TRUE(comesToRest());
  EXPECT_TRUE(waitForState(laptop(), "otherMac"));
  EXPECT_TRUE(waitForResult(laptop(), "Other Mac has zolvex"));
  EXPECT_EQ(devicesOf(laptop()), 0);
  EXPECT_EQ(logged(studio(), u"Connect: peer released, proceeding"_s), 1);
  EXPECT_EQ(logged(laptop(), u"PLEASE_RELEASE: released successfully"_s), 1);
  EXPECT_EQ(errorsLogged(), 0);
  EXPECT_TRUE(nextSwitchWorks(laptop()));
  EXPECT_EQ(errorsLogged(), 0);
}

TEST_F(Switch, tellsTheUsersOfBothComputers) {
  studio().control().connectToThisMac(true);
  EXPECT_TRUE(waitForState(laptop(), "otherMac", thorough));
  EXPECT_TRUE(waitUntil([&] { return !studio().notifications().titles().isEmpty(); }));
  EXPECT_TRUE(waitUntil([&] { return !laptop().notifications().titles().isEmpty(); }));
  EXPECT_TRUE(comesToRest());
}

TEST_F(Switch, releaseFreesEveryDeviceAndTellsThePeer) {
  laptop().control().release();
  EXPECT_TRUE(waitForResult(laptop(), "Released. Pair on other Mac"));
  EXPECT_TRUE(waitForState(laptop(), "released"));
  EXPECT_TRUE(waitForState(studio(), "released"));
  EXPECT_TRUE(comesToRest());
  for (const auto& address : radio().addresses()) EXPECT_EQ(radio().holder(address), QString());
  EXPECT_EQ(errorsLogged(), 0);
  EXPECT_TRUE(nextSwitchWorks(studio()));
}

TEST_F(Switch, quickConnectTakesFreeDevicesWithoutAsking) {
  laptop().control().release();
  EXPECT_TRUE(waitForState(studio(), "released"));
  EXPECT_TRUE(comesToRest());
  studio().control().forceConnect(false);
  EXPECT_TRUE(waitUntil([&] { return devicesOf(studio()) == deviceCount(); }, thorough));
  EXPECT_TRUE(comesToRest());
  EXPECT_EQ(logged(laptop(), u"Received PLEASE_RELEASE"_s), 0);
  EXPECT_EQ(errorsLogged(), 0);
  EXPECT_TRUE(nextSwitchWorks(laptop()));
}

TEST_F(Switch, simultaneousSwitchLeavesEveryDeviceWithOneOwner) {
  laptop().control().release();
  EXPECT_TRUE(waitForState(studio(), "released"));
  EXPECT_TRUE(comesToRest());
  studio().control().connectToThisMac(true);
  laptop().control().connectToThisMac(true);
  EXPECT_TRUE(waitUntil([&] { return devicesOf(studio()) + devicesOf(laptop()) == deviceCount(); }, thorough));
  EXPECT_TRUE(comesToRest());
  EXPECT_TRUE(nextSwitchWorks(studio()));
}

}  // namespace
}  // namespace zolvex::lab
