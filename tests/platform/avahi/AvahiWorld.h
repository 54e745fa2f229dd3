#pragma once

#include "lab/PrivateBus.h"

#include <QProcess>
#include <QString>

#include <array>
#include <string>

namespace zolvex::test {

/// Two computers with a cable between them, and another that is not plugged in, each with a message bus and a real
/// avahi-daemon of its own, in network namespaces. The daemons are not running at first. The test process itself stays
/// outside and only uses the buses.
class AvahiWorld {
 public:
  AvahiWorld() = default;
  ~AvahiWorld();

  /// Why it cannot be had on this machine; empty when it can.
  static std::string obstacle();

  bool start();
  QString busAddress(int computer) const { return buses_.at(static_cast<std::size_t>(computer)).address(); }

  void startDaemon(int computer) { command("start", computer); }
  void stopDaemon(int computer) { command("stop", computer); }
  void killDaemon(int computer) { command("kill", computer); }  ///< Nobody is told that it goes.
  void hangDaemon(int computer) { command("hang", computer); }
  void resumeDaemon(int computer) { command("resume", computer); }
  void startBus(int computer);
  void stopBus(int computer);
  void unplug(int cable = 0) { command("unplug", cable); }
  void plug(int cable = 0) { command("plug", cable); }

  static constexpr int spareCable = 1;
  static constexpr int spareInterface = 77;  ///< Of the first computer.

 private:
  bool waitForLine(const QByteArray& line);
  void command(const char* name, int argument);

  std::array<lab::PrivateBus, 2> buses_;
  QProcess script_;
};

}  // namespace zolvex::test
