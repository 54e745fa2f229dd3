#include "control/PairedDeviceScan.h"

#include <utility>

namespace zolvex::control {

void PairedDeviceScan::list(Answer answer) {
  waiting_.push_back(std::move(answer));
  if (waiting_.size() > 1) return;
  const std::function<void(const Devices&)> finish =
      lifetime_.guard([this](const Devices& devices) { finished(devices); });
  queue_.async([&mainQueue = mainQueue_, &client = workerClient_, finish] {
    mainQueue.async([finish, devices = client.listPaired(limit)] { finish(devices); });
  });
}

void PairedDeviceScan::finished(const Devices& devices) {
  for (const auto& answer : std::exchange(waiting_, {})) answer(devices);
}

}  // namespace zolvex::control
