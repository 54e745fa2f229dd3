#include "bluetooth/worker/BluetoothWorker.h"
#include "bluetooth/worker/FakeBluetoothClassicController.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace zolvex {
namespace {

using test::FakeBluetoothStack;
using testing::ElementsAre;
using testing::IsEmpty;
using Calls = std::vector<std::string>;

/// One worker run against a fake stack. `sleep` notes its durations and may change the stack's state.
class BluetoothWorkerTest : public testing::Test {
 protected:
  int run(std::vector<std::string> arguments, const std::string& input = {}) {
    std::istringstream in(input);
    inputLeft = -1;
    const int status = BluetoothWorker({.input = in,
                                        .output = output,
                                        .error = error,
                                        .openController = [this] { return stack.openController(); },
                                        .sleep =
                                            [this](Seconds duration) {
                                              stack.calls.push_back("sleep");
                                              sleeps.push_back(duration.count());
                                              if (duringSleep) duringSleep();
                                            }})
                           .run(arguments);
    inputLeft = in.eof() ? 0 : static_cast<int>(input.size()) - static_cast<int>(in.tellg());
    return status;
  }
  int connect() { return run({"connect"}, FakeBluetoothStack::knownAddress); }
  int unregister() { return run({"unregister"}, FakeBluetoothStack::knownAddress); }

  static constexpr std::size_t longInput = 200'000;

  FakeBluetoothStack stack;
  std::ostringstream output;
  std::ostringstream error;
  std::vector<double> sleeps;
  std::function<void()> duringSleep;
  int inputLeft = -1;
};

class BadArguments : public BluetoothWorkerTest, public testing::WithParamInterface<std::vector<std::string>> {};

TEST_P(BadArguments, areAUsageErrorBeforeAnythingIsReadOrOpened) {
  EXPECT_EQ(run(GetParam(), FakeBluetoothStack::knownAddress), 64);
  EXPECT_EQ(error.str(), "Invalid Bluetooth worker arguments\n");
  EXPECT_EQ(output.str(), "");
  EXPECT_THAT(stack.calls, IsEmpty());
  EXPECT_EQ(inputLeft, 17);
}

INSTANTIATE_TEST_SUITE_P(Forms, BadArguments,
                         testing::Values(Calls{}, Calls{""}, Calls{"CONNECT"}, Calls{"Connect"}, Calls{"listpaired"},
                                         Calls{"connect", "AA-BB-CC-DD-EE-FF"}, Calls{"connect", ""},
                                         Calls{"listPaired", "listPaired"}, Calls{"connect "}, Calls{" connect"},
                                         Calls{"connect\n"}, Calls{"disconnect"}, Calls{"--help"},
                                         Calls{"--zolvex-bluetooth-worker", "connect"}, Calls{"\xff\xfe"}));

class MissingAddress : public BluetoothWorkerTest, public testing::WithParamInterface<std::string> {};

TEST_P(MissingAddress, isAUsageErrorOfBothCommandsBeforeAControllerIsOpened) {
  for (const auto* command : {"connect", "unregister"}) {
    error.str("");
    EXPECT_EQ(run({command}, GetParam()), 64);
    EXPECT_EQ(error.str(), "Missing Bluetooth device address\n");
  }
  EXPECT_EQ(output.str(), "");
  EXPECT_THAT(stack.calls, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Inputs, MissingAddress,
                         testing::Values("", " ", "\n", " \t\r\n \n", "\xc2\xa0\xe2\x80\xa8", "\xff",
                                         "AA-BB-CC-DD-EE-FF\xff", "\xc3 AA-BB-CC-DD-EE-FF", "\xed\xa0\x80"));

TEST_F(BluetoothWorkerTest, connectLooksTheAddressUpInRange) {
  stack.deviceExists = false;
  EXPECT_EQ(connect(), 66);
  EXPECT_EQ(error.str(), "Device not found\n");
  EXPECT_EQ(output.str(), "");
  EXPECT_THAT(stack.calls, ElementsAre("openController", "lookup AA-BB-CC-DD-EE-FF inRange"));
}

TEST_F(BluetoothWorkerTest, unregisterLooksTheAddressUpAmongTheKnown) {
  stack.deviceExists = false;
  EXPECT_EQ(unregister(), 66);
  EXPECT_EQ(error.str(), "Device not found\n");
  EXPECT_EQ(output.str(), "");
  EXPECT_THAT(stack.calls, ElementsAre("openController", "lookup AA-BB-CC-DD-EE-FF known"));
}

TEST_F(BluetoothWorkerTest, whiteSpaceAroundTheAddressIsTrimmed) {
  stack.deviceConnected = true;
  for (const auto* input : {"AA-BB-CC-DD-EE-FF\n", "\r\n\t AA-BB-CC-DD-EE-FF \n\n",
                            "\xc2\xa0"
                            "AA-BB-CC-DD-EE-FF"})
    EXPECT_EQ(run({"connect"}, input), 0) << input;
}

TEST_F(BluetoothWorkerTest, theWholeInputIsTheAddress) {
  EXPECT_EQ(run({"connect"}, "AA-BB-CC-DD-EE-FF\n11-22-33-44-55-66\n"), 66);
  EXPECT_EQ(stack.calls.back(), "lookup AA-BB-CC-DD-EE-FF\n11-22-33-44-55-66 inRange");
}

TEST_F(BluetoothWorkerTest, ofTheInputOnlyTheBeginningIsKeptAndThatIsNoAddress) {
  const std::string address = FakeBluetoothStack::knownAddress;
  for (const auto& more :
       {std::string(longInput, '0'), std::string(longInput, '\0'), std::string(longInput, ' ') + "0"}) {
    EXPECT_EQ(run({"unregister"}, address + more), 66);
    EXPECT_EQ(inputLeft, 0);
  }
  stack.poweredOn = false;
  EXPECT_EQ(run({"connect"}, std::string(longInput, '0')), 69);
  for (const auto& call : stack.calls) EXPECT_LT(call.size(), longInput / 2) << call.substr(0, 80);
}

// The beginning may end in the middle of a character.
TEST_F(BluetoothWorkerTest, longInputIsUtf8OrNotInItsBeginning) {
  const std::string fourBytes = "\xf0\x9f\x96\xb1";
  std::string characters;
  while (characters.size() < longInput) characters += fourBytes;
  for (const auto* shift : {"", "1", "12", "123"}) EXPECT_EQ(run({"connect"}, shift + characters), 66) << shift;
  EXPECT_EQ(run({"connect"}, "\xff" + characters), 64);
  EXPECT_EQ(run({"connect"}, std::string(longInput, '\x96')), 64);
}

TEST_F(BluetoothWorkerTest, longWhiteSpaceAfterTheAddressIsTrimmed) {
  EXPECT_EQ(run({"unregister"}, FakeBluetoothStack::knownAddress + std::string(longInput, '\n')), 0);
}

TEST_F(BluetoothWorkerTest, longInputOfWhiteSpaceIsAMissingAddress) {
  EXPECT_EQ(run({"connect"}, std::string(longInput, '\n')), 64);
  EXPECT_EQ(error.str(), "Missing Bluetooth device address\n");
  EXPECT_EQ(inputLeft, 0);
}

TEST_F(BluetoothWorkerTest, zeroBytesBelongToTheAddress) {
  EXPECT_EQ(run({"connect"}, std::string("AA-BB-CC-DD-EE-FF\0", 18)), 66);
}

TEST_F(BluetoothWorkerTest, withBluetoothOffTheDeviceIsLeftAlone) {
  stack.poweredOn = false;
  EXPECT_EQ(connect(), 69);
  EXPECT_EQ(unregister(), 69);
  EXPECT_EQ(error.str(), "Bluetooth is off\nBluetooth is off\n");
  EXPECT_EQ(output.str(), "");
  EXPECT_THAT(stack.calls, ElementsAre("openController", "lookup AA-BB-CC-DD-EE-FF inRange", "openController",
                                       "lookup AA-BB-CC-DD-EE-FF known"));
}

// Whoever asked would take the pairing for removed.
TEST_F(BluetoothWorkerTest, withBluetoothOffNoDeviceIsSaidToBeUnknown) {
  stack.poweredOn = false;
  stack.deviceExists = false;
  EXPECT_EQ(unregister(), 69);
  EXPECT_EQ(run({"unregister"}, "nonsense"), 69);
}

TEST_F(BluetoothWorkerTest, aConnectedDeviceIsLeftAlone) {
  stack.deviceConnected = true;
  EXPECT_EQ(connect(), 0);
  EXPECT_EQ(output.str(), "Already connected\n");
  EXPECT_EQ(error.str(), "");
  EXPECT_EQ(stack.countOf("isConnected"), 1);
  EXPECT_EQ(stack.countOf("rssi"), 0);
  EXPECT_EQ(stack.countOf("openConnection"), 0);
}

TEST_F(BluetoothWorkerTest, connectsAtTheFirstAttempt) {
  stack.deviceRssi = -47;
  stack.connectsOnAttempt = 1;
  EXPECT_EQ(connect(), 0);
  EXPECT_EQ(output.str(), "Attempt 1: openConnection=0, connected=true\n");
  EXPECT_EQ(error.str(), "");
  EXPECT_THAT(stack.calls, ElementsAre("openController", "lookup AA-BB-CC-DD-EE-FF inRange", "isConnected", "rssi",
                                       "isConnected", "openConnection", "isConnected"));
}

TEST_F(BluetoothWorkerTest, noReadingOfTheSignalIsNotedAndAttemptsAreMadeAllTheSame) {
  stack.connectsOnAttempt = 1;
  EXPECT_EQ(connect(), 0);
  EXPECT_EQ(output.str(), "Not in range yet\nAttempt 1: openConnection=0, connected=true\n");
}

TEST_F(BluetoothWorkerTest, anyOtherReadingIsNotNoted) {
  stack.connectsOnAttempt = 1;
  stack.deviceRssi = 0;
  EXPECT_EQ(connect(), 0);
  EXPECT_EQ(output.str(), "Attempt 1: openConnection=0, connected=true\n");
}

TEST_F(BluetoothWorkerTest, connectsAtTheThirdAttempt) {
  stack.deviceRssi = -47;
  stack.connectsOnAttempt = 3;
  stack.openStatus = ioReturn::timeout;
  EXPECT_EQ(connect(), 0);
  EXPECT_EQ(output.str(),
            "Attempt 1: openConnection=-536870186, connected=false\n"
            "Attempt 2: openConnection=-536870186, connected=false\n"
            "Attempt 3: openConnection=-536870186, connected=true\n");
  EXPECT_EQ(error.str(), "");
  EXPECT_THAT(sleeps, ElementsAre(1.0, 1.0));
}

TEST_F(BluetoothWorkerTest, neverConnectingCostsFiveAttemptsAndFiveSeconds) {
  stack.openStatus = ioReturn::error;
  EXPECT_EQ(connect(), 1);
  EXPECT_EQ(output.str(),
            "Not in range yet\n"
            "Attempt 1: openConnection=-536870212, connected=false\n"
            "Attempt 2: openConnection=-536870212, connected=false\n"
            "Attempt 3: openConnection=-536870212, connected=false\n"
            "Attempt 4: openConnection=-536870212, connected=false\n"
            "Attempt 5: openConnection=-536870212, connected=false\n");
  EXPECT_EQ(error.str(), "Connect failed\n");
  EXPECT_THAT(sleeps, ElementsAre(1.0, 1.0, 1.0, 1.0, 1.0));
}

TEST_F(BluetoothWorkerTest, theFifthAttemptConnects) {
  stack.connectsOnAttempt = 5;
  EXPECT_EQ(connect(), 0);
  EXPECT_TRUE(output.str().ends_with("Attempt 5: openConnection=0, connected=true\n"));
  EXPECT_EQ(sleeps.size(), 4u);
}

TEST_F(BluetoothWorkerTest, aDeviceThatConnectsDuringTheSleepEndsTheAttempts) {
  stack.deviceRssi = -47;
  duringSleep = [this] { stack.deviceConnected = true; };
  EXPECT_EQ(connect(), 0);
  EXPECT_EQ(output.str(), "Attempt 1: openConnection=0, connected=false\nConnected\n");
  EXPECT_EQ(sleeps.size(), 1u);
}

TEST_F(BluetoothWorkerTest, aDeviceThatConnectsDuringTheLastSleepComesTooLate) {
  duringSleep = [this] { stack.deviceConnected = sleeps.size() == 5; };
  EXPECT_EQ(connect(), 1);
  EXPECT_EQ(error.str(), "Connect failed\n");
}

TEST_F(BluetoothWorkerTest, unregisterRemovesThePairingWithoutDisconnecting) {
  stack.deviceConnected = true;
  EXPECT_EQ(unregister(), 0);
  EXPECT_EQ(output.str(), "Removed pairing\n");
  EXPECT_EQ(error.str(), "");
  EXPECT_THAT(stack.calls, ElementsAre("openController", "lookup AA-BB-CC-DD-EE-FF known", "removePairing"));
}

TEST_F(BluetoothWorkerTest, aPairingThatCannotBeRemovedIsNotClaimedAsRemoved) {
  stack.canRemove = false;
  EXPECT_EQ(unregister(), 70);
  EXPECT_EQ(output.str(), "");
  EXPECT_EQ(error.str(), "Remove selector unavailable\n");
}

TEST_F(BluetoothWorkerTest, noPairedDevicesAreAnEmptyArrayWithoutALineFeed) {
  EXPECT_EQ(run({"listPaired"}), 0);
  EXPECT_EQ(output.str(), "[]");
  EXPECT_EQ(error.str(), "");
}

TEST_F(BluetoothWorkerTest, listingNeitherReadsTheInputNorChecksThePower) {
  stack.poweredOn = false;
  stack.paired = {{"AA-BB-CC-DD-EE-FF", "Magic Mouse", true}};
  EXPECT_EQ(run({"listPaired"}, "anything"), 0);
  EXPECT_EQ(output.str(), R"([{"id":"AA-BB-CC-DD-EE-FF","name":"Magic Mouse","isConnected":true}])");
  EXPECT_EQ(inputLeft, 8);
  EXPECT_THAT(stack.calls, ElementsAre("openController", "pairedDevices"));
}

TEST_F(BluetoothWorkerTest, listingKeepsTheOrderOfTheSystem) {
  stack.paired = {{"BB-BB-BB-BB-BB-BB", "second", false}, {"AA-AA-AA-AA-AA-AA", "first", true}};
  EXPECT_EQ(run({"listPaired"}), 0);
  EXPECT_EQ(output.str(), R"([{"id":"BB-BB-BB-BB-BB-BB","name":"second","isConnected":false},)"
                          R"({"id":"AA-AA-AA-AA-AA-AA","name":"first","isConnected":true}])");
}

TEST_F(BluetoothWorkerTest, listingTrimsAndNamesTheNameless) {
  stack.paired = {{" AA-AA-AA-AA-AA-AA\n", "  Keyboard \n", false},
                  {"BB-BB-BB-BB-BB-BB", std::nullopt, false},
                  {"CC-CC-CC-CC-CC-CC", " \t", false}};
  EXPECT_EQ(run({"listPaired"}), 0);
  EXPECT_EQ(output.str(), R"([{"id":"AA-AA-AA-AA-AA-AA","name":"Keyboard","isConnected":false},)"
                          R"({"id":"BB-BB-BB-BB-BB-BB","name":"Unknown Device","isConnected":false},)"
                          R"({"id":"CC-CC-CC-CC-CC-CC","name":"Unknown Device","isConnected":false}])");
}

TEST_F(BluetoothWorkerTest, listingLeavesOutDevicesWithoutAnAddress) {
  stack.paired = {{"", "a", true}, {" \n", "b", true}, {"AA-AA-AA-AA-AA-AA", "c", false}};
  EXPECT_EQ(run({"listPaired"}), 0);
  EXPECT_EQ(output.str(), R"([{"id":"AA-AA-AA-AA-AA-AA","name":"c","isConnected":false}])");
}

TEST_F(BluetoothWorkerTest, namesAreEscapedAsJsonWantsIt) {
  stack.paired = {{"AA-AA-AA-AA-AA-AA", "Zoe\"s \\ m\u00f6use", false}};
  EXPECT_EQ(run({"listPaired"}), 0);
  EXPECT_EQ(output.str(),
            "[{\"id\":\"AA-AA-AA-AA-AA-AA\",\"name\":\"Zoe\\\"s \\\\ m\u00f6use\",\"isConnected\":false}]");
}

TEST_F(BluetoothWorkerTest, aNameThatIsNotUtf8CannotBeEncoded) {
  stack.paired = {{"AA-AA-AA-AA-AA-AA", "\xff\xfe", false}};
  EXPECT_EQ(run({"listPaired"}), 65);
  EXPECT_EQ(output.str(), "");
  EXPECT_EQ(error.str(), "Could not encode paired devices\n");
}

}  // namespace
}  // namespace zolvex
