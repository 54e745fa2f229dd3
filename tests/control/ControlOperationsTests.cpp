#include "control/ControlOperations.h"
#include "core/SettingsKeys.h"
#include "support/FakeLaunchAtLogin.h"
#include "support/World.h"

#include <gtest/gtest.h>

namespace zolvex::test {
namespace {

namespace error = control::error;
using control::Refusal;

constexpr auto notSaved = "The change counts until Zolvex ends, it cannot be saved: no space";

struct ControlOperationsTest : testing::Test {
  void pair(const std::vector<PairedDevicePayload>& devices) {
    world.workers.set("listPaired", "", {.output = encodePairedDevices(devices).value_or("")});
  }
  Refusal manage(const std::vector<std::string>& addresses) {
    std::optional<Refusal> outcome;
    operations.manageDevices(addresses, [&](const Refusal& refusal) { outcome = refusal; });
    world.runUntilIdle();
    EXPECT_TRUE(outcome.has_value());
    return outcome.value_or(std::nullopt);
  }
  std::string manageError(const std::vector<std::string>& addresses) {
    const auto refusal = manage(addresses);
    return refusal ? refusal->text : "accepted";
  }
  StringArray managed() { return world.defaults.stringArray(settings::managedDeviceAddresses).value_or(StringArray{}); }

  World world;
  VirtualSerialQueue scanQueue{world.time};
  FakeLaunchAtLogin launchAtLogin;
  control::PairedDeviceScan scan{world.time, scanQueue, world.workerClient};
  const control::Controlled controlled{world.time,      world.defaults, world.store(), world.manager(),
                                       world.network(), scan,           launchAtLogin};
  control::ControlOperations operations{controlled};
};

TEST_F(ControlOperationsTest, startsAFlowUnlessOneRuns) {
  EXPECT_EQ(operations.connectToThisMac(false), std::nullopt);
  EXPECT_TRUE(world.manager().isSwitching());
  for (const auto& refusal :
       {operations.connectToThisMac(false), operations.forceConnect(true), operations.release()}) {
    ASSERT_TRUE(refusal.has_value());
    EXPECT_EQ(refusal->name, error::busy);
    EXPECT_EQ(refusal->text, "The devices are being moved already: Asking peer to release...");
  }
}

TEST_F(ControlOperationsTest, quickConnectAsksNobody) {
  EXPECT_EQ(operations.forceConnect(false), std::nullopt);
  EXPECT_EQ(world.manager().lastResult(), "Quick connecting...");
  EXPECT_TRUE(world.peer.sent.empty());
}

TEST_F(ControlOperationsTest, cancelTellsWhetherThereWasSomething) {
  EXPECT_FALSE(operations.cancel());
  operations.release();
  EXPECT_TRUE(operations.cancel());
  EXPECT_EQ(world.manager().lastResult(), "Cancelled");
}

TEST_F(ControlOperationsTest, managingSavesNamesThenAddressesThenReloads) {
  pair({{"B1", "Magic Mouse", true}, {"B2", "Headset", false}, {"A1", "New Name", false}});
  EXPECT_EQ(manage({"B1", "A1"}), std::nullopt);
  EXPECT_EQ(managed(), (StringArray{"B1", "A1"}));
  EXPECT_EQ(world.store().loadDeviceNames(),
            (StringDictionary{{"A1", "New Name"}, {"A2", "Magic Trackpad"}, {"B1", "Magic Mouse"}}));
  ASSERT_EQ(world.store().peripherals().size(), 2u);
  EXPECT_EQ(world.store().peripherals()[0].name, "Magic Mouse");
  EXPECT_EQ(world.manager().lastResult(), "Not connected");
}

TEST_F(ControlOperationsTest, addressesMayBeWrittenAsBluezWritesThem) {
  pair({{"AA-BB-CC-00-11-22", "Magic Mouse", true}});
  EXPECT_EQ(manage({"aa:bb:cc:00:11:22", "AA-BB-CC-00-11-22"}), std::nullopt);
  EXPECT_EQ(managed(), StringArray{"AA-BB-CC-00-11-22"});
}

TEST_F(ControlOperationsTest, aManagedDeviceNeedNotBePairedHere) {
  pair({});
  EXPECT_EQ(manage({"A2"}), std::nullopt);
  EXPECT_EQ(managed(), StringArray{"A2"});
  EXPECT_EQ(world.store().peripherals()[0].name, "Magic Trackpad");
}

TEST_F(ControlOperationsTest, oneUnknownAddressSavesNothing) {
  pair({{"B1", "Magic Mouse", true}});
  EXPECT_EQ(manageError({"B1", "ZZ\n"}), "ZZ\\x0a is not paired with this computer.");
  EXPECT_EQ(managed(), (StringArray{"A1", "A2"}));
  EXPECT_EQ(world.store().loadDeviceNames().count("B1"), 0u);
}

TEST_F(ControlOperationsTest, aFailedListingStillAllowsTheManagedDevices) {
  world.log.expectError("Bluetooth worker listPaired failed");
  world.workers.set("listPaired", "", {.exitStatus = 69, .error = "Bluetooth is off"});
  EXPECT_EQ(manage({"A1"}), std::nullopt);
  EXPECT_EQ(manageError({"B1"}), "B1 is not paired with this computer.");
}

TEST_F(ControlOperationsTest, nothingSelectedIsTheFirstHint) {
  world.network().removePeer();
  EXPECT_EQ(manageError({}), "Select at least one device to finish setup.");
}

TEST_F(ControlOperationsTest, withoutAPeerThereIsNothingToSave) {
  world.network().removePeer();
  EXPECT_EQ(manageError({"A1"}), "Add your peer Mac to finish setup.");
  EXPECT_TRUE(world.workers.events.empty());
}

TEST_F(ControlOperationsTest, aPeerRemovedDuringTheListingSavesNothing) {
  pair({{"B1", "Magic Mouse", true}});
  std::optional<Refusal> outcome;
  operations.manageDevices({"B1"}, [&](const Refusal& refusal) { outcome = refusal; });
  world.network().removePeer();
  world.runUntilIdle();
  ASSERT_TRUE(outcome && *outcome);
  EXPECT_EQ((*outcome)->name, error::incompleteSetup);
  EXPECT_EQ(managed(), (StringArray{"A1", "A2"}));
}

TEST_F(ControlOperationsTest, whoAsksDuringAListingSharesIt) {
  pair({{"B1", "Magic Mouse", true}});
  int answers = 0;
  for (int i = 0; i < 3; ++i)
    operations.pairedDevices([&](const auto& devices) { answers += static_cast<int>(devices.size()); });
  world.runUntilIdle();
  EXPECT_EQ(answers, 3);
  EXPECT_EQ(world.workers.events.size(), 1u);
}

TEST_F(ControlOperationsTest, whoAsksWhileTheSettingsPageListsSharesItsListing) {
  pair({{"B1", "Magic Mouse", true}});
  bool isShown = false;
  scan.list([&](const auto&) { isShown = true; });
  bool isAnswered = false;
  operations.pairedDevices([&](const auto& devices) { isAnswered = devices.size() == 1; });
  EXPECT_EQ(manage({"B1"}), std::nullopt);
  EXPECT_TRUE(isShown && isAnswered);
  EXPECT_EQ(world.workers.events.size(), 1u);
}

TEST_F(ControlOperationsTest, aListingMayOutliveTheOneWhoAsked) {
  pair({{"B1", "Magic Mouse", true}});
  {
    control::ControlOperations ended(controlled);
    ended.pairedDevices([](const auto&) { ADD_FAILURE() << "answered after its end"; });
  }
  world.runUntilIdle();
}

TEST_F(ControlOperationsTest, onlyAFoundComputerBecomesThePeer) {
  auto found = peerRecord(world.time.now());
  found.id = "DEF456";
  world.peer.discover(found);
  const auto refusal = operations.registerPeer("QQQQQQ");
  ASSERT_TRUE(refusal.has_value());
  EXPECT_EQ(refusal->name, error::unknownPeer);
  EXPECT_EQ(operations.registerPeer("def456"), std::nullopt);
  EXPECT_EQ(world.network().registeredPeer()->id, "DEF456");
  EXPECT_EQ(operations.registerPeer("def456"), std::nullopt);  // no longer among those to choose from
}

TEST_F(ControlOperationsTest, aChoiceOfDevicesThatCannotBeSavedCountsAndIsAnError) {
  pair({{"B1", "Magic Mouse", true}});
  world.defaults.problem = "no space";
  EXPECT_EQ(manageError({"B1"}), notSaved);
  ASSERT_EQ(world.store().peripherals().size(), 1u);
  EXPECT_EQ(world.store().peripherals()[0].name, "Magic Mouse");
  EXPECT_EQ(world.manager().lastResult(), "Not connected");
}

TEST_F(ControlOperationsTest, aPeerThatCannotBeSavedCountsAndIsAnError) {
  auto found = peerRecord(world.time.now());
  found.id = "DEF456";
  world.peer.discover(found);
  world.defaults.problem = "no space";
  for (int attempt = 0; attempt < 2; ++attempt) {
    const auto refusal = operations.registerPeer("def456");
    ASSERT_TRUE(refusal.has_value());
    EXPECT_EQ(refusal->text, notSaved);
    EXPECT_EQ(world.network().registeredPeer()->id, "DEF456");
  }
  const auto refusal = operations.removePeer();
  ASSERT_TRUE(refusal.has_value());
  EXPECT_EQ(refusal->text, notSaved);
  EXPECT_EQ(world.network().registeredPeer(), nullptr);
}

TEST_F(ControlOperationsTest, addingAPeerAgainSavesWhatWasNotSaved) {
  world.defaults.problem = "no space";
  const auto written = world.defaults.changed.observe([&] { world.defaults.problem = std::nullopt; });
  EXPECT_EQ(operations.registerPeer("abc123"), std::nullopt);
}

TEST_F(ControlOperationsTest, removesThePeerOnce) {
  EXPECT_EQ(operations.removePeer(), std::nullopt);
  const auto refusal = operations.removePeer();
  ASSERT_TRUE(refusal.has_value());
  EXPECT_EQ(refusal->name, error::noPeer);
}

}  // namespace
}  // namespace zolvex::test
