#include "app/WorkerMode.h"

#include "bluetooth/worker/BluetoothWorker.h"
#include "platform/linux/BluezClassicController.h"
#include "platform/linux/ParentWatch.h"

#include <QCoreApplication>
#include <QDBusConnection>

#include <cstdlib>
#include <iostream>
#include <optional>
#include <thread>

namespace zolvex {

namespace {

/// What the worker needs of Qt, made when it is needed: a run that ends on its arguments does not pay for it.
class QtSurroundings {
 public:
  /// An event loop is needed to be asked back and to hear announcements; for a mere listing it would be a waste.
  explicit QtSurroundings(bool needsEvents) : needsEvents_(needsEvents) {}

  std::unique_ptr<BluetoothClassicController> openController() {
    endWithParent();
    // Whatever Qt has to say would be taken for an error text of the worker.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    if (needsEvents_) application_.emplace(argumentCount_, arguments_);
    return std::make_unique<BluezClassicController>(
        QDBusConnection::connectToBus(QDBusConnection::SystemBus, QStringLiteral("zolvex-worker")),
        BluezClassicController::Options{.adapterAddress = qEnvironmentVariable("ZOLVEX_ADAPTER")});
  }

 private:
  const bool needsEvents_;
  char name_[7] = "zolvex";
  char* arguments_[2] = {name_, nullptr};
  int argumentCount_ = 1;
  std::optional<QCoreApplication> application_;
};

}  // namespace

void runWorkerMode(const std::vector<std::string>& arguments) {
  const bool lists = !arguments.empty() && arguments.front() == literalOf(BluetoothWorkerCommand::listPaired);
  QtSurroundings surroundings(!lists);
  const int status = BluetoothWorker({.input = std::cin,
                                      .output = std::cout,
                                      .error = std::cerr,
                                      .openController = [&surroundings] { return surroundings.openController(); },
                                      .sleep = [](Seconds duration) { std::this_thread::sleep_for(duration); }})
                         .run(arguments);
  // Without clean-up: nothing is left to be saved, closing the bus connection in good order takes its time at each run,
  // and the thread of a notification may still be busy.
  std::_Exit(status);
}

}  // namespace zolvex
