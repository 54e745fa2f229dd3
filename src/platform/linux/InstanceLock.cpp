#include "platform/linux/InstanceLock.h"

#include "core/Text.h"
#include "platform/linux/ConfigDirectory.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace zolvex {

InstanceLock::InstanceLock(std::string path) : path_(std::move(path)) {
  std::error_code ignored;
  const auto directory = std::filesystem::path(path_).parent_path();
  std::filesystem::create_directories(directory.parent_path(), ignored);
  mkdir(directory.c_str(), S_IRWXU);
}

InstanceLock::~InstanceLock() {
  if (file_ >= 0) close(file_);
}

std::string InstanceLock::standardPath() {
  return configDirectory() + "/instance.lock";
}

InstanceLock::Result InstanceLock::acquire() {
  if (file_ < 0) file_ = open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (file_ < 0) return Result::unavailable;
  if (flock(file_, LOCK_EX | LOCK_NB) != 0) return errno == EWOULDBLOCK ? Result::heldByAnother : Result::unavailable;
  const auto note = std::to_string(getpid()) + "\n";
  if (ftruncate(file_, 0) == 0) [[maybe_unused]]
    const auto written = pwrite(file_, note.data(), note.size(), 0);
  return Result::acquired;
}

std::string InstanceLock::holder() const {
  std::array<char, 32> buffer{};
  const auto length = file_ < 0 ? 0 : pread(file_, buffer.data(), buffer.size(), 0);
  if (length <= 0) return "";
  return std::string(trimmed({buffer.data(), static_cast<std::size_t>(length)}));
}

}  // namespace zolvex
