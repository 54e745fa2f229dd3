#pragma once

#include "lab/cli/PlayResult.h"
#include "lab/cli/Report.h"

#include <QElapsedTimer>

namespace zolvex::lab {

/// The main job of Zolvex as a play: Laptop has the three devices, both computers find each other, Studio switches.
/// Whether it worked is judged by who holds the devices on the radio. Owned by main().
class Demo {
 public:
  Demo(World& world, Report& report) : world_(world), report_(report) {}

  /// The world must have been started. Faults come in after the beginning is set.
  PlayResult play(const std::vector<Fault>& faults);

 private:
  bool letLaptopConnect();
  void letStudioSwitch();
  PlayResult judge() const;
  static PlayResult interrupted();
  PlayResult failure(const QString& what) const;

  World& world_;
  Report& report_;
  QElapsedTimer clock_;
  qint64 milliseconds_ = 0;
};

}  // namespace zolvex::lab
