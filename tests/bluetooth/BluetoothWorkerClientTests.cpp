#include "bluetooth/BluetoothWorkerClient.h"
#include "support/FakeWorkers.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

namespace zolvex::test {
namespace {

using namespace std::chrono_literals;
using enum BluetoothWorkerCommand;

struct BluetoothWorkerClientTest : testing::Test {
  /// Runs as work of a serial queue, so that waiting takes virtual time.
  template <class Work>
  auto onQueue(Work work) {
    std::optional<decltype(work())> result;
    queue.async([&] { result = work(); });
    time.advance(1min);
    return *result;
  }
  BluetoothWorkerResult run(BluetoothWorkerCommand command) {
    return onQueue([&] { return client.run(command, "AA-BB", 12s); });
  }
  std::vector<PairedDevicePayload> list() {
    return onQueue([&] { return client.listPaired(8s); });
  }

  LogCapture log;
  VirtualTime time;
  VirtualSerialQueue queue{time};
  FakeWorkers workers{time};
  BluetoothWorkerClient client{workers, "/opt/zolvex"};
};

TEST_F(BluetoothWorkerClientTest, startsItselfWithTheFlagAndTheCommandAndWritesTheAddress) {
  EXPECT_EQ(run(connect), BluetoothWorkerResult::success());
  EXPECT_EQ(workers.lastCommandLine, (std::vector<std::string>{"/opt/zolvex", "--zolvex-bluetooth-worker", "connect"}));
  EXPECT_EQ(workers.runs, std::vector<std::string>{"connect AA-BB"});
}

TEST_F(BluetoothWorkerClientTest, outputOfASuccessfulWorkerIsLogged) {
  workers.set("connect", "AA-BB", {.output = " Already connected\n"});
  EXPECT_EQ(run(connect), BluetoothWorkerResult::success());
  EXPECT_EQ(log.lines(), std::vector<std::string>{"Bluetooth worker connect: Already connected"});
}

TEST_F(BluetoothWorkerClientTest, errorTextIsLoggedAsAnError) {
  log.expectError("Bluetooth worker unregister: Device not found");
  workers.set("unregister", "AA-BB", {.exitStatus = 66, .error = "Device not found\n"});
  EXPECT_EQ(run(unregister), BluetoothWorkerResult::notFound());
}

TEST_F(BluetoothWorkerClientTest, undecodableOutputCountsAsNone) {
  workers.set("connect", "AA-BB", {.output = "\xff\xfe", .error = "\xff"});
  EXPECT_EQ(run(connect), BluetoothWorkerResult::success());
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(BluetoothWorkerClientTest, mapsEveryExitStatus) {
  const std::vector<std::pair<int, BluetoothWorkerResult>> cases{
      {0, BluetoothWorkerResult::success()},       {66, BluetoothWorkerResult::notFound()},
      {69, BluetoothWorkerResult::bluetoothOff()}, {1, BluetoothWorkerResult::failed(1)},
      {64, BluetoothWorkerResult::failed(64)},     {65, BluetoothWorkerResult::failed(65)},
      {70, BluetoothWorkerResult::failed(70)},     {139, BluetoothWorkerResult::failed(139)}};
  for (const auto& [status, result] : cases) {
    workers.set("connect", "AA-BB", {.exitStatus = status});
    EXPECT_EQ(run(connect), result) << status;
  }
}

TEST_F(BluetoothWorkerClientTest, aWorkerThatEndsJustInTimeIsNotStopped) {
  workers.set("connect", "AA-BB", {.duration = 12s});
  EXPECT_EQ(run(connect), BluetoothWorkerResult::success());
}

TEST_F(BluetoothWorkerClientTest, aHangingWorkerIsTerminatedAtTheTimeOut) {
  log.expectError("Bluetooth worker timed out during connect");
  workers.set("connect", "AA-BB", {.hangs = true});
  EXPECT_EQ(run(connect), BluetoothWorkerResult::timedOut());
  EXPECT_EQ(workers.events, (std::vector<std::string>{"0.00 start connect", "0.00 input AA-BB", "12.00 terminate"}));
}

TEST_F(BluetoothWorkerClientTest, whatTheWorkerTakesToReadCountsAgainstItsTime) {
  log.expectError("Bluetooth worker timed out during connect");
  workers.set("connect", "AA-BB", {.readsAfter = 5s, .hangs = true});
  EXPECT_EQ(run(connect), BluetoothWorkerResult::timedOut());
  EXPECT_EQ(workers.events.back(), "12.00 terminate");
}

TEST_F(BluetoothWorkerClientTest, aWorkerThatNeverReadsIsTerminatedAtTheTimeOut) {
  log.expectError("Bluetooth worker timed out during connect");
  workers.set("connect", "AA-BB", {.readsAfter = 1min, .hangs = true});
  EXPECT_EQ(run(connect), BluetoothWorkerResult::timedOut());
  EXPECT_EQ(workers.events.back(), "12.00 terminate");
}

TEST_F(BluetoothWorkerClientTest, aWorkerThatIgnoresTheRequestIsKilledOneSecondLater) {
  log.expectError("Bluetooth worker timed out during connect");
  workers.set("connect", "AA-BB", {.hangs = true, .ignoresTerminate = true});
  EXPECT_EQ(run(connect), BluetoothWorkerResult::timedOut());
  EXPECT_EQ(workers.events.back(), "13.00 kill");
}

TEST_F(BluetoothWorkerClientTest, aWorkerThatSurvivesTheKillIsAbandonedAfterOneMoreSecond) {
  log.expectError("Bluetooth worker timed out during connect");
  workers.set("connect", "AA-BB", {.hangs = true, .ignoresTerminate = true, .ignoresKill = true});
  Seconds returned{};
  onQueue([&] {
    const auto result = client.run(connect, "AA-BB", 12s);
    returned = time.elapsed();
    return result;
  });
  EXPECT_EQ(returned, 14s);
}

TEST_F(BluetoothWorkerClientTest, aMissingExecutableFailsWithoutStartingAnything) {
  log.expectError("Bluetooth worker executable unavailable");
  const BluetoothWorkerClient homeless(workers, std::nullopt);
  EXPECT_EQ(onQueue([&] { return homeless.run(connect, "AA-BB", 12s); }), BluetoothWorkerResult::failed(65));
  EXPECT_TRUE(onQueue([&] { return homeless.listPaired(8s); }).empty());
  EXPECT_TRUE(workers.events.empty());
}

TEST_F(BluetoothWorkerClientTest, aWorkerThatCannotBeStartedIsFailed65) {
  log.expectError("Bluetooth worker failed to start: No such file or directory");
  workers.failToStart("No such file or directory");
  EXPECT_EQ(run(connect), BluetoothWorkerResult::failed(65));
  EXPECT_TRUE(list().empty());
}

TEST_F(BluetoothWorkerClientTest, listsPairedDevicesInTheWorkersOrderWhateverItsExitStatus) {
  workers.set("listPaired", "", {.exitStatus = 3, .output = R"([{"id":"B","name":"Mouse","isConnected":true},
                                              {"id":"A","name":"Keyboard","isConnected":false}])"});
  EXPECT_EQ(list(), (std::vector<PairedDevicePayload>{{"B", "Mouse", true}, {"A", "Keyboard", false}}));
  EXPECT_EQ(workers.events, std::vector<std::string>{"0.00 start listPaired"});
}

TEST_F(BluetoothWorkerClientTest, anythingOnStandardErrorSpoilsTheListing) {
  log.expectError("Bluetooth worker listPaired failed");
  workers.set("listPaired", "", {.output = "[]", .error = "\n"});
  EXPECT_TRUE(list().empty());
}

TEST_F(BluetoothWorkerClientTest, aSilentListingIsADecodeError) {
  log.expectError("Could not decode paired Bluetooth devices: ");
  EXPECT_TRUE(list().empty());
}

TEST_F(BluetoothWorkerClientTest, aListingThatIsNoArrayOfRecordsIsADecodeError) {
  log.expectError("Could not decode paired Bluetooth devices: ");
  for (const auto* output :
       {"{}", "[1]", R"([{"id":"A","name":"x"}])", R"([{"id":1,"name":"x","isConnected":true}])"}) {
    workers.set("listPaired", "", {.output = output});
    EXPECT_TRUE(list().empty()) << output;
  }
  EXPECT_EQ(log.lines().size(), 4u);
}

TEST_F(BluetoothWorkerClientTest, aHangingListingIsStoppedAndEmpty) {
  log.expectError("Bluetooth worker timed out during listPaired");
  workers.set("listPaired", "", {.output = "[]", .hangs = true});
  EXPECT_TRUE(list().empty());
  EXPECT_EQ(workers.events.back(), "8.00 terminate");
}

}  // namespace
}  // namespace zolvex::test
