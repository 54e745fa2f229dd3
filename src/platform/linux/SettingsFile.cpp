#include "platform/linux/SettingsFile.h"

#include <QDateTime>
#include <QJsonDocument>
#include <fmt/core.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>

namespace zolvex {

namespace {

constexpr std::chrono::milliseconds lockLimit{500};
constexpr std::chrono::milliseconds lockInterval{2};
constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;
constexpr std::size_t blockSize = 65'536;
constexpr std::size_t mebibyte = 1024 * 1024;

SettingsFile::Unusable cannotBeRead() {
  return {fmt::format("cannot be read ({})", std::strerror(errno))};
}

std::string directoryOf(const std::string& path) {
  return std::filesystem::path(path).parent_path();
}

/// What is wrong with an open file even before it is read.
std::optional<SettingsFile::Unusable> oddity(int file) {
  struct stat status {};
  if (fstat(file, &status) != 0) return cannotBeRead();
  if (S_ISDIR(status.st_mode)) return SettingsFile::Unusable{"is a directory"};
  if (!S_ISREG(status.st_mode)) return SettingsFile::Unusable{"is no regular file"};
  if (!(status.st_mode & S_IRUSR)) return errno = EACCES, cannotBeRead();  // root could read it all the same
  if (static_cast<std::size_t>(status.st_size) > SettingsFile::longest)
    return SettingsFile::Unusable{fmt::format("is larger than {} MiB", SettingsFile::longest / mebibyte)};
  return std::nullopt;
}

bool readAll(int file, QByteArray& bytes) {
  std::array<char, blockSize> block{};
  while (static_cast<std::size_t>(bytes.size()) <= SettingsFile::longest) {
    const auto count = ::read(file, block.data(), block.size());
    if (count == 0) return true;
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) bytes.append(block.data(), count);
  }
  return true;
}

SettingsFile::Content parsed(const QByteArray& bytes) {
  if (bytes.trimmed().isEmpty()) return SettingsFile::Unusable{"is empty"};
  QJsonParseError error{};
  const auto document = QJsonDocument::fromJson(bytes, &error);
  if (document.isObject()) return document.object();
  if (error.error == QJsonParseError::NoError) return SettingsFile::Unusable{"is no JSON object"};
  return SettingsFile::Unusable{
      fmt::format("is no JSON ({} at byte {})", error.errorString().toStdString(), error.offset)};
}

/// Asks for the owner's right by name, because root may write everything.
bool isReadOnly(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && (!(status.st_mode & S_IWUSR) || access(path.c_str(), W_OK) != 0);
}

bool renameUnlessTaken(const std::string& from, const std::string& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS) return false;  // the file system can do it
  struct stat status {};
  if (lstat(to.c_str(), &status) == 0) return errno = EEXIST, false;
  return std::rename(from.c_str(), to.c_str()) == 0;
}

}  // namespace

std::string SettingsFile::target() const {
  std::error_code error;
  auto target = std::filesystem::canonical(path_, error).string();
  return error ? path_ : target;
}

void SettingsFile::prepare() const {
  makeDirectories(directoryOf(path_));
}

SettingsFile::Content SettingsFile::read() const {
  struct stat status {};
  if (lstat(path_.c_str(), &status) != 0) {
    if (errno == ENOENT || errno == ENOTDIR) return Missing();
    return cannotBeRead();
  }
  const FileDescriptor file(open(path_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (!file.isOpen()) return errno == ENOENT ? Unusable{"is a link to nothing"} : cannotBeRead();
  if (auto odd = oddity(file.get())) return *std::move(odd);
  QByteArray bytes;
  return readAll(file.get(), bytes) ? parsed(bytes) : cannotBeRead();
}

FileFailure SettingsFile::write(const QJsonObject& settings) const {
  const auto file = target();
  if (isReadOnly(file)) return fmt::format("cannot write {}: it is read-only", file);
  const auto json = QJsonDocument(settings).toJson(QJsonDocument::Indented);
  return replaceFile(file, {json.constData(), static_cast<std::size_t>(json.size())}, ownerOnly);
}

std::optional<std::string> SettingsFile::keepAside() const {
  const auto time = QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss")).toStdString();
  const auto wanted = path_ + ".damaged-" + time;
  auto name = wanted;
  for (int i = 2; !renameUnlessTaken(path_, name); ++i) {
    if (errno != EEXIST) return std::nullopt;
    name = fmt::format("{}-{}", wanted, i);
  }
  return name;
}

FileFailure SettingsFile::remove() const {
  for (const auto& file : {target(), path_})
    if (unlink(file.c_str()) != 0 && errno != ENOENT) return fileFailure("remove", file);
  return std::nullopt;
}

FileDescriptor SettingsFile::lock() const {
  FileDescriptor directory(open(directoryOf(path_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  const auto limit = std::chrono::steady_clock::now() + lockLimit;
  while (directory.isOpen() && flock(directory.get(), LOCK_EX | LOCK_NB) != 0) {
    if (errno != EWOULDBLOCK || std::chrono::steady_clock::now() >= limit) return {};
    std::this_thread::sleep_for(lockInterval);
  }
  return directory;
}

}  // namespace zolvex
