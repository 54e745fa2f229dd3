#pragma once

#include <unistd.h>
#include <utility>

namespace zolvex {

/// Owns one file descriptor and closes it.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
  FileDescriptor(FileDescriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    if (this != &other) {
      close();
      descriptor_ = std::exchange(other.descriptor_, -1);
    }
    return *this;
  }
  ~FileDescriptor() { close(); }

  bool isOpen() const { return descriptor_ >= 0; }
  int get() const { return descriptor_; }

  void close() {
    if (const int descriptor = std::exchange(descriptor_, -1); descriptor >= 0) ::close(descriptor);
  }

 private:
  int descriptor_ = -1;
};

}  // namespace zolvex
