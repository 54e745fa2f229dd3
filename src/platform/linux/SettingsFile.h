#pragma once

#include "platform/linux/AtomicFile.h"
#include "platform/linux/FileDescriptor.h"

#include <QJsonObject>

#include <optional>
#include <string>
#include <variant>

namespace zolvex {

/// The file that holds the settings: one JSON object, which people and programs may edit, break, link to another place
/// or forbid to be written. Reads and writes the file as a whole and as it is now; keeps nothing in memory.
/// Blocks for as long as the disk takes.
class SettingsFile {
 public:
  static constexpr std::size_t longest = 16 * 1024 * 1024;  ///< Bytes; more are no settings.

  struct Missing {};
  struct Unusable {
    std::string why;  ///< Continues a sentence: "the settings file PATH ...".
  };
  using Content = std::variant<QJsonObject, Missing, Unusable>;

  explicit SettingsFile(std::string path) : path_(std::move(path)) {}

  const std::string& path() const { return path_; }

  /// The path behind symbolic links; the same as path() where it is none or leads to nothing.
  std::string target() const;

  /// Makes the directory (mode 0700). Failures show up when something is read or written.
  void prepare() const;

  Content read() const;

  /// Replaces the content at once and as a whole, or leaves it. A file without the right to write to it is left.
  FileFailure write(const QJsonObject& settings) const;

  /// Gives what is there the unused name "NAME.damaged-TIME". Returns that name, or none when it cannot be done.
  std::optional<std::string> keepAside() const;

  /// Removes the file, with what it links to.
  FileFailure remove() const;

  /// Keeps other Zolvex processes from writing until the result is destroyed. Waits for them, but not for long: who
  /// holds the lock longer than a write takes has been stopped. Where there are no locks it is not open.
  FileDescriptor lock() const;

 private:
  const std::string path_;
};

}  // namespace zolvex
