#include "platform/linux/AtomicFile.h"

#include "platform/linux/FileDescriptor.h"

#include <fmt/core.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zolvex {

namespace {

bool writeAll(int file, std::string_view content) {
  while (!content.empty()) {
    const auto written = write(file, content.data(), content.size());
    if (written < 0 && errno != EINTR) return false;
    if (written > 0) content.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

/// The new file is complete and on the disk before it gets its name.
bool writeNewFile(const std::string& path, std::string_view content, mode_t mode) {
  unlink(path.c_str());  // left behind by a process that was killed
  const FileDescriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
  return file.isOpen() && writeAll(file.get(), content) && fsync(file.get()) == 0;
}

}  // namespace

std::string fileFailure(std::string_view whatToDo, const std::string& path) {
  return fmt::format("cannot {} {}: {}", whatToDo, path, std::strerror(errno));
}

FileFailure makeDirectories(const std::string& path) {
  struct stat status {};
  if (path.empty() || (stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode))) return std::nullopt;
  if (auto failure = makeDirectories(std::filesystem::path(path).parent_path())) return failure;
  if (mkdir(path.c_str(), S_IRWXU) == 0 || errno == EEXIST) return std::nullopt;
  return fileFailure("make the directory", path);
}

void removeEmptyDirectories(std::filesystem::path directory, const std::filesystem::path& top) {
  while (directory != top && directory.has_relative_path() && rmdir(directory.c_str()) == 0)
    directory = directory.parent_path();
}

FileFailure replaceFile(const std::string& path, std::string_view content, mode_t mode) {
  if (auto failure = makeDirectories(std::filesystem::path(path).parent_path())) return failure;
  const auto fresh = path + ".new";
  if (writeNewFile(fresh, content, mode) && std::rename(fresh.c_str(), path.c_str()) == 0) return std::nullopt;
  auto failure = fileFailure("write", path);
  unlink(fresh.c_str());
  return failure;
}

}  // namespace zolvex
