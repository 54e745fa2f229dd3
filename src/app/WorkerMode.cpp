#include "app/WorkerMode.h"

#include "bluetooth/worker/BluetoothWorker.h"
#include "platform/linux/BluezClassicController.h"
#include "platform/linux/ParentWatch.h"
#include "platform/linux/ProcessSetup.h"

#include <cstdlib>
#include <iostream>
#include <memory>
#include <thread>

namespace zolvex {

namespace {

std::unique_ptr<BluetoothClassicController> openController() {
  const char* adapter = std::getenv("ZOLVEX_ADAPTER");
  return std::make_unique<BluezClassicController>(
      BluezBus::openSystemBus(), BluezClassicController::Options{.adapterAddress = adapter ? adapter : ""});
}

}  // namespace

void runWorkerMode(const std::vector<std::string>& arguments) {
  setUpProcess();  // so that the exit status tells the outcome even when nobody reads the output any more
  endWithParent();
  const int status = BluetoothWorker({.input = std::cin,
                                      .output = std::cout,
                                      .error = std::cerr,
                                      .openController = openController,
                                      .sleep = [](Seconds duration) { std::this_thread::sleep_for(duration); }})
                         .run(arguments);
  // Without clean-up: nothing is left to be saved, and the thread of a notification may still be busy.
  std::_Exit(status);
}

}  // namespace zolvex
