#include "bluetooth/BluetoothPeripheralStore.h"
#include "core/SettingsKeys.h"
#include "support/World.h"

#include <gtest/gtest.h>

namespace zolvex::test {
namespace {

using namespace std::chrono_literals;
using ConnectionStatus = BluetoothPeripheralStore::ConnectionStatus;

int announcements(BluetoothPeripheralStore& store, const std::function<void()>& action) {
  int count = 0;
  const auto subscription = store.observePeripherals([&](const auto&) { ++count; });
  action();
  return count;
}

TEST(BluetoothPeripheralStore, withoutSavedAddressesTheListIsEmpty) {
  World world(noDevices);
  EXPECT_TRUE(world.store().peripherals().empty());
  EXPECT_EQ(world.store().connectionStatus(), ConnectionStatus::allDisconnected);
  EXPECT_EQ(world.log.lines().front(), "loaded 0 managed Bluetooth devices");
}

TEST(BluetoothPeripheralStore, loadsAddressesInOrderWithTheirSavedNames) {
  World world({"Magic Mouse", "Magic Keyboard"});
  EXPECT_EQ(world.store().peripherals(),
            (std::vector<BluetoothPeripheral>{{"A1", "Magic Mouse"}, {"A2", "Magic Keyboard"}}));
  EXPECT_EQ(world.log.lines().front(), "loaded 2 managed Bluetooth devices");
}

TEST(BluetoothPeripheralStore, anAddressWithoutASavedNameIsItsOwnName) {
  World world({"Magic Mouse"});
  world.defaults.set(settings::managedDeviceAddresses, StringArray{"A1", "B9", "B9"});
  world.store().reload();
  EXPECT_EQ(world.store().peripherals(),
            (std::vector<BluetoothPeripheral>{{"A1", "Magic Mouse"}, {"B9", "B9"}, {"B9", "B9"}}));
}

TEST(BluetoothPeripheralStore, aDamagedNameTableMakesEveryDeviceItsAddress) {
  World world({"Magic Mouse"});
  world.defaults.set(settings::deviceNames, std::monostate{});  // what a dictionary with a number in it reads as
  world.store().reload();
  EXPECT_EQ(world.store().peripherals().front().name, "A1");
}

TEST(BluetoothPeripheralStore, aDamagedAddressListReadsAsEmpty) {
  World world({"Magic Mouse"});
  world.defaults.set(settings::managedDeviceAddresses, std::string("A1"));
  world.store().reload();
  EXPECT_TRUE(world.store().peripherals().empty());
}

TEST(BluetoothPeripheralStore, aChoiceThatSomebodyElseWritesIsTakenOverAndKeepsWhatIsKnown) {
  World world({"Magic Mouse", "Magic Keyboard"});
  world.haveConnected(2);
  world.defaults.set(settings::managedDeviceAddresses, StringArray{"A2", "B9"});
  world.defaults.set(settings::deviceNames, StringDictionary{{"A2", "Keys"}, {"B9", "Pad"}});
  EXPECT_EQ(world.store().peripherals().size(), 2u) << "not in the middle of the changes";
  const int times = announcements(world.store(), [&] { world.runUntilIdle(); });
  EXPECT_EQ(world.store().peripherals(),
            (std::vector<BluetoothPeripheral>{{"A2", "Keys", true}, {"B9", "Pad", false}}));
  EXPECT_EQ(times, 1);
  EXPECT_EQ(world.log.count("loaded 2 managed Bluetooth devices"), 2);
}

TEST(BluetoothPeripheralStore, otherSettingsLeaveTheListAlone) {
  World world({"Magic Mouse"});
  world.defaults.set(settings::autoConnect, false);
  EXPECT_EQ(announcements(world.store(), [&] { world.runUntilIdle(); }), 0);
}

TEST(BluetoothPeripheralStore, reloadingForgetsConnections) {
  World world;
  world.haveConnected(2);
  world.store().reload();
  EXPECT_FALSE(world.store().anyConnected());
}

TEST(BluetoothPeripheralStore, summarisesConnections) {
  World world;
  EXPECT_EQ(world.store().connectionStatus(), ConnectionStatus::allDisconnected);
  world.haveConnected(1);
  EXPECT_EQ(world.store().connectionStatus(), ConnectionStatus::partial);
  world.haveConnected(2);
  EXPECT_EQ(world.store().connectionStatus(), ConnectionStatus::allConnected);
}

TEST(BluetoothPeripheralStore, markingTwiceAnnouncesOnce) {
  World world;
  EXPECT_EQ(announcements(world.store(),
                          [&] {
                            world.store().markConnected("A1");
                            world.store().markConnected("A1");
                          }),
            1);
}

TEST(BluetoothPeripheralStore, markingAnUnmanagedAddressChangesNothing) {
  World world;
  EXPECT_EQ(announcements(world.store(), [&] { world.store().markConnected("a1"); }), 0);
  EXPECT_FALSE(world.store().anyConnected());
}

TEST(BluetoothPeripheralStore, markingElsewhereTakesEffectOnTheMainThread) {
  World world;
  bool seenElsewhere = true;
  world.bluetoothQueue.async([&] {
    world.store().markConnected("A1");
    seenElsewhere = world.store().anyConnected();
  });
  world.runUntilIdle();
  EXPECT_FALSE(seenElsewhere);
  EXPECT_TRUE(world.store().anyConnected());
}

struct DeviceActionTest : testing::Test {
  void connectFirst() {
    world.bluetoothQueue.async([this] {
      world.store().connect(world.store().peripherals()[0], [this] {
        ++completions;
        connectedAtCompletion = world.store().peripherals()[0].isConnected;
      });
    });
    world.advance(20s);
  }
  bool unregisterFirst() {
    std::optional<bool> released;
    world.bluetoothQueue.async(
        [&] { world.store().unregister(world.store().peripherals()[0], [&](bool gone) { released = gone; }); });
    world.advance(20s);
    return released.value();
  }

  World world;
  int completions = 0;
  bool connectedAtCompletion = false;
};

TEST_F(DeviceActionTest, aConnectedDeviceIsMarkedBeforeTheCompletion) {
  connectFirst();
  EXPECT_EQ(completions, 1);
  EXPECT_TRUE(connectedAtCompletion);
  EXPECT_TRUE(world.log.contains("connect: SUCCESS Magic Keyboard"));
}

TEST_F(DeviceActionTest, aNameCannotForgeALogLine) {
  const std::string longName(100, 'x');
  world.defaults.set(settings::deviceNames, StringDictionary{{"A1", longName + "\n12:00:00.000 error Forged: line"}});
  world.store().reload();
  connectFirst();
  EXPECT_TRUE(world.log.contains("connect: SUCCESS " + longName + "\\x0a12:00:00.000 error Forged: line"));
}

TEST_F(DeviceActionTest, aConnectThatTimesOutMarksTheDeviceDisconnected) {
  world.log.expectError("connect: FAILED Magic Keyboard");
  world.log.expectError("Bluetooth worker timed out during connect");
  world.haveConnected(1);
  world.workers.set("connect", "A1", {.hangs = true});
  connectFirst();
  EXPECT_EQ(completions, 1);
  EXPECT_FALSE(connectedAtCompletion);
  EXPECT_EQ(world.workers.events.back().substr(0, 5), "12.00");
}

TEST_F(DeviceActionTest, everyOtherResultOfAConnectIsAFailure) {
  world.log.expectError("connect: FAILED Magic Keyboard");
  for (const int status : {1, 66, 69, 70}) {
    world.haveConnected(1);
    world.workers.set("connect", "A1", {.exitStatus = status});
    connectFirst();
    EXPECT_FALSE(connectedAtCompletion) << status;
  }
}

TEST_F(DeviceActionTest, aRemovedPairingMarksTheDeviceDisconnected) {
  world.haveConnected(2);
  EXPECT_TRUE(unregisterFirst());
  EXPECT_EQ(world.store().connectionStatus(), ConnectionStatus::partial);
  EXPECT_TRUE(world.log.contains("unregister: released Magic Keyboard"));
}

TEST_F(DeviceActionTest, aDeviceThatTheSystemDoesNotKnowCountsAsReleased) {
  world.haveConnected(1);
  world.workers.set("unregister", "A1", {.exitStatus = 66});
  EXPECT_TRUE(unregisterFirst());
  EXPECT_FALSE(world.store().anyConnected());
}

TEST_F(DeviceActionTest, aFailedRemovalLeavesTheConnectionFlagAlone) {
  world.log.expectError("unregister: failed Magic Keyboard");
  world.haveConnected(1);
  for (const int status : {1, 69, 70}) {
    world.workers.set("unregister", "A1", {.exitStatus = status});
    EXPECT_FALSE(unregisterFirst());
  }
  EXPECT_TRUE(world.store().anyConnected());
}

TEST_F(DeviceActionTest, aRemovalIsStoppedAfterEightSeconds) {
  world.log.expectError("unregister: failed Magic Keyboard");
  world.log.expectError("Bluetooth worker timed out during unregister");
  world.workers.set("unregister", "A1", {.hangs = true});
  EXPECT_FALSE(unregisterFirst());
  EXPECT_EQ(world.workers.events.back(), "8.00 terminate");
}

TEST(BluetoothPeripheralStore, guessesTheKindOfADeviceFromItsName) {
  const std::vector<std::pair<std::string, std::string>> cases{
      {"Magic Keyboard", "keyboard"},         {"Magic Trackpad", "rectangle.and.hand.point.up.left"},
      {"Magic Mouse", "computermouse"},       {"WH-1000 Headset", "dot.radiowaves.left.and.right"},
      {"Trackpad with keyboard", "keyboard"}, {"MAGIC KEYBOARD", "keyboard"},
      {"", "dot.radiowaves.left.and.right"}};
  for (const auto& [name, icon] : cases) EXPECT_EQ(BluetoothPeripheralStore::iconName(name), icon) << name;
}

}  // namespace
}  // namespace zolvex::test
