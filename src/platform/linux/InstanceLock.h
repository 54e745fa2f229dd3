#pragma once

#include <string>

namespace zolvex {

/// Makes sure that a user runs one Zolvex at a time: an advisory lock on a file, held until this object or the
/// process ends, however it ends.
class InstanceLock {
 public:
  enum class Result {
    acquired,
    heldByAnother,
    unavailable,  ///< The file cannot be made; nothing protects against a second instance.
  };

  /// Makes the file's directory (mode 0700) when it is missing.
  explicit InstanceLock(std::string path);
  ~InstanceLock();
  InstanceLock(const InstanceLock&) = delete;

  /// "instance.lock" in the configuration directory.
  static std::string standardPath();

  /// Never waits.
  Result acquire();

  /// Process id of the holder as it noted itself; empty when unknown.
  std::string holder() const;

 private:
  const std::string path_;
  int file_ = -1;
};

}  // namespace zolvex
