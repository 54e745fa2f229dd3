#include "bluetooth/BluetoothWorkerClient.h"
#include "platform/process/StandInRun.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

namespace zolvex {
namespace {

using test::LogCapture;

/// The client with real child processes.
class WorkerClientProcessTest : public testing::Test {
 protected:
  BluetoothWorkerResult run(const std::string& plan, Seconds timeout = test::ample) {
    test::setStandInPlan(plan);
    const auto begin = std::chrono::steady_clock::now();
    const auto result = client.run(BluetoothWorkerCommand::connect, "AA-BB-CC-DD-EE-FF", timeout);
    elapsed = std::chrono::steady_clock::now() - begin;
    return result;
  }
  std::vector<PairedDevicePayload> list(const std::string& plan) {
    test::setStandInPlan(plan);
    return client.listPaired(test::ample);
  }

  PosixProcessLauncher launcher;
  BluetoothWorkerClient client{launcher, test::standInExecutable};
  Seconds elapsed{};
};

TEST_F(WorkerClientProcessTest, exitStatusesBecomeResults) {
  const LogCapture log;
  EXPECT_EQ(run("exit 0"), BluetoothWorkerResult::success());
  EXPECT_EQ(run("exit 66"), BluetoothWorkerResult::notFound());
  EXPECT_EQ(run("exit 69"), BluetoothWorkerResult::bluetoothOff());
  for (const int status : {1, 2, 64, 65, 67, 68, 70, 127, 255})
    EXPECT_EQ(run("exit " + std::to_string(status)), BluetoothWorkerResult::failed(status));
  EXPECT_EQ(run("raise 9"), BluetoothWorkerResult::failed(137));
}

TEST_F(WorkerClientProcessTest, theWorkerGetsItsArgumentsAndTheBareAddress) {
  const LogCapture log;
  run("arguments;read");
  EXPECT_TRUE(log.contains("Bluetooth worker connect: --zolvex-bluetooth-worker|connect|AA-BB-CC-DD-EE-FF"));
}

TEST_F(WorkerClientProcessTest, bothTextsAreLogged) {
  LogCapture log;
  log.expectError("Bluetooth worker connect: Connect failed");
  EXPECT_EQ(run("print Attempt 1;complain Connect failed;exit 1"), BluetoothWorkerResult::failed(1));
  EXPECT_TRUE(log.contains("Bluetooth worker connect: Attempt 1"));
}

TEST_F(WorkerClientProcessTest, aHangingWorkerIsAskedToEndAtTheLimit) {
  LogCapture log;
  log.expectError("Bluetooth worker timed out during connect");
  EXPECT_EQ(run("sleep 60", Seconds(0.2)), BluetoothWorkerResult::timedOut());
  EXPECT_GE(elapsed, Seconds(0.2));
  EXPECT_LT(elapsed, Seconds(1.1));  // it did not take the kill
  EXPECT_FALSE(test::hasChildren());
}

TEST_F(WorkerClientProcessTest, aWorkerThatStaysIsKilledOneSecondLater) {
  LogCapture log;
  log.expectError("Bluetooth worker timed out during connect");
  EXPECT_EQ(run("ignore 15;sleep 60", Seconds(0.5)), BluetoothWorkerResult::timedOut());
  EXPECT_GE(elapsed, Seconds(1.5));
  EXPECT_LT(elapsed, Seconds(2.4));  // it was gone soon after the kill
  EXPECT_FALSE(test::hasChildren());
}

TEST_F(WorkerClientProcessTest, aWorkerWithoutAnExecutableCannotBeStarted) {
  LogCapture log;
  log.expectError("Bluetooth worker failed to start: No such file or directory");
  const BluetoothWorkerClient missing(launcher, "/nonexistent/zolvex");
  EXPECT_EQ(missing.run(BluetoothWorkerCommand::unregister, "AA-BB-CC-DD-EE-FF", test::ample),
            BluetoothWorkerResult::failed(65));
}

TEST_F(WorkerClientProcessTest, theListComesInTheWorkersOrder) {
  const LogCapture log;
  const auto devices =
      list(R"(print [{"id":"B","name":"two","isConnected":true},{"id":"A","name":"one","isConnected":false}])");
  EXPECT_EQ(devices, (std::vector<PairedDevicePayload>{{"B", "two", true}, {"A", "one", false}}));
}

TEST_F(WorkerClientProcessTest, anyComplaintVoidsTheList) {
  LogCapture log;
  log.expectError("Bluetooth worker listPaired failed");
  EXPECT_TRUE(list(R"(print [{"id":"A","name":"one","isConnected":true}];complain oh;exit 0)").empty());
}

TEST_F(WorkerClientProcessTest, noOutputIsADecodingError) {
  LogCapture log;
  log.expectError("Could not decode paired Bluetooth devices: ");
  EXPECT_TRUE(list("exit 0").empty());
}

// Every run has its own three pipes, process descriptor and process: none may be left.
TEST_F(WorkerClientProcessTest, tenThousandRunsLeaveNoZombieAndNoDescriptor) {
  const LogCapture log;
  ASSERT_EQ(run("exit 0"), BluetoothWorkerResult::success());
  const auto before = test::openDescriptors();
  for (int i = 0; i < 10'000; ++i) ASSERT_EQ(run("exit 66"), BluetoothWorkerResult::notFound());
  EXPECT_EQ(test::openDescriptors(), before);
  EXPECT_FALSE(test::hasChildren());
}

}  // namespace
}  // namespace zolvex
