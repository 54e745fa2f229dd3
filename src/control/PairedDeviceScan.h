#pragma once

#include "bluetooth/BluetoothWorkerClient.h"
#include "core/Lifetime.h"
#include "core/MainQueue.h"
#include "core/SerialQueue.h"

#include <functional>
#include <vector>

namespace zolvex::control {

/// Lists the paired devices by a worker process on a queue of its own, so that neither the main thread nor a switch
/// waits for it. Everybody who asks while a listing runs gets that listing's result. Main thread.
class PairedDeviceScan {
 public:
  using Devices = std::vector<PairedDevicePayload>;
  using Answer = std::function<void(const Devices&)>;

  static constexpr Seconds limit{8.0};

  /// The queue must stop before the client ends; both outlive this.
  PairedDeviceScan(MainQueue& mainQueue, SerialQueue& queue, const BluetoothWorkerClient& workerClient)
      : mainQueue_(mainQueue), queue_(queue), workerClient_(workerClient) {}

  /// `answer` gets an empty list when the listing failed.
  void list(Answer answer);

 private:
  void finished(const Devices& devices);

  MainQueue& mainQueue_;
  SerialQueue& queue_;
  const BluetoothWorkerClient& workerClient_;
  std::vector<Answer> waiting_;
  Lifetime lifetime_;
};

}  // namespace zolvex::control
