#pragma once

#include "lab/PrivateBus.h"
#include "lab/bluez/BluezService.h"

#include <QProcessEnvironment>

namespace zolvex::lab {

/// One computer of a world that a test holds in its own process: a private system bus with org.bluez on it.
///
///   lab::Radio radio;
///   for (const auto& device : lab::magicDevices()) radio.addDevice(device);
///   lab::Computer laptop(radio, "Laptop");
///   ASSERT_TRUE(laptop.start());
///   radio.bond("Laptop", radio.addressOf("Magic Mouse"));             // where it is in the beginning
///   radio.inject(*lab::Fault::parse("hangs-on-remove:Magic Mouse"));  // a bad day; radio.liftAll() ends it
///   auto run = lab::runProgram({.program = zolvexPath,
///                               .arguments = {"--zolvex-bluetooth-worker", "unregister"},
///                               .input = "02-5A-00-00-00-03",
///                               .environment = laptop.environment()});
///   EXPECT_EQ(run.exitStatus, 0);
///   EXPECT_EQ(radio.holder(radio.addressOf("Magic Mouse")), "");
///
/// org.bluez is served by the event loop of the thread that made the computer, so that a blocking D-Bus call on that
/// very thread would wait for itself: make calls from a child process (runProgram) or from another thread.
class Computer {
 public:
  Computer(Radio& radio, const QString& name, BluezTiming timing = {});
  ~Computer();

  /// Starts the bus, then org.bluez. False when that fails; errorString() says why.
  bool start();

  /// Ends both, as when the computer is switched off. Can be started again; bonds stay.
  void stop();

  QString name() const { return bluez_.identity().computer; }
  QString busAddress() const { return bus_.address(); }
  QString errorString() const { return bus_.errorString(); }
  BluezService& bluez() { return bluez_; }

  /// This process's environment with this computer's system bus.
  QProcessEnvironment environment() const;

 private:
  PrivateBus bus_;
  BluezService bluez_;
};

}  // namespace zolvex::lab
