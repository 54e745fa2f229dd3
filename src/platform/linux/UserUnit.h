#pragma once

#include "platform/linux/AtomicFile.h"

#include <optional>
#include <string>
#include <vector>

namespace zolvex {

/// "zolvex.service" of the user's systemd, as it stands in the file system: enabled, masked, or neither. A unit that
/// the package brought is used where it starts this very program, one that the user wrote is left alone, and otherwise
/// it writes one of its own. It talks to nobody: systemd learns of changes when it reloads. Main thread.
class UserUnit {
 public:
  enum class State { off, on, masked, startsNothing };

  static constexpr auto name = "zolvex.service";
  static constexpr auto target = "graphical-session.target";

  /// `configHome` has the user's units, `sharedDirectories` those of all users, the first one that has a unit wins.
  UserUnit(const std::string& configHome, std::vector<std::string> sharedDirectories, std::string program);

  State state() const;

  /// What the unit in force starts; empty when there is none or it cannot be read.
  std::string startedProgram() const;

  FileFailure enable() const;

  /// Takes back enable() and "systemctl --user enable"; fails when it is on for all users. The file stays, because a
  /// service whose file is gone has lost what it was bound to: it would not end with the desktop any more.
  FileFailure disable() const;

  /// Removes the file that it wrote, unless that is enabled again, and folders that are empty then.
  FileFailure removeUnused() const;

  /// Writes the own unit again when it is enabled and starts a program that is no longer there.
  FileFailure followProgram() const;

  /// systemd starts no program whose path has quotes, backslashes or control characters in it.
  static bool canStart(const std::string& program);

  /// The text of the unit that it writes for `program`.
  static std::string text(const std::string& program);

 private:
  std::optional<std::string> fileInForce() const;
  std::optional<std::string> sharedFile() const;
  bool isLinked() const;
  bool isOwnFileOurs() const;
  FileFailure provideFile() const;
  FileFailure link() const;
  std::string wantsDirectory() const;

  const std::string configHome_;
  const std::string directory_;
  const std::string ownFile_;
  const std::vector<std::string> sharedDirectories_;
  const std::string program_;
};

}  // namespace zolvex
