#pragma once

#include "platform/linux/AtomicFile.h"

#include <string>

namespace zolvex {

/// The desktop entry in the user's autostart directory, which every desktop reads at login. It starts either the
/// program or, where the user has a systemd, its unit, for the desktops that do not do so themselves. What the user
/// wrote in its place is left alone. Main thread.
class AutostartEntry {
 public:
  enum class State { missing, on, off, startsNothing };

  AutostartEntry(const std::string& configHome, std::string program);

  const std::string& path() const { return path_; }

  /// "off" is how desktops note that the user switched it off; "startsNothing": the program is gone.
  State state() const;
  bool isOurs() const;

  /// Whether it is ours and starts the unit.
  bool startsUnit() const;

  FileFailure writeForProgram() const;
  FileFailure writeForUnit() const;

  /// Fails when it is in force and not ours.
  FileFailure remove() const;

  /// Writes it again when it is ours and starts a program that is no longer there.
  FileFailure followProgram() const;

  static std::string textForProgram(const std::string& program);
  static std::string textForUnit();

 private:
  std::string value(const std::string& key) const;

  const std::string path_;
  const std::string program_;
};

}  // namespace zolvex
