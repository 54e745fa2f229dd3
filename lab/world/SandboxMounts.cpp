#include "lab/world/SandboxMounts.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sys/mount.h>
#include <unistd.h>

namespace zolvex::lab {

namespace {

std::string failure(const std::string& what) {
  return what + ": " + std::strerror(errno);
}

/// Copies a user or group file with the line of avahi replaced by `replacement`.
bool copyWithAvahiAsRoot(const std::string& source, const std::string& target, const std::string& replacement) {
  std::ifstream in(source);
  std::ofstream out(target);
  for (std::string line; std::getline(in, line);)
    if (!line.starts_with("avahi:")) out << line << '\n';
  out << replacement << '\n';
  return out.good();
}

bool replaceUserFile(const std::string& file, const std::string& directory, const std::string& avahiLine) {
  const auto copy = directory + "/" + std::filesystem::path(file).filename().string();
  return copyWithAvahiAsRoot(file, copy, avahiLine) &&
         mount(copy.c_str(), file.c_str(), nullptr, MS_BIND, nullptr) == 0;
}

/// In a plain chroot "/" is no mount point, and only a mount point can be made private: then it becomes one.
bool makeMountsPrivate() {
  const auto makePrivate = [] { return mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0; };
  if (makePrivate()) return true;
  return errno == EINVAL && mount("/", "/", nullptr, MS_BIND | MS_REC, nullptr) == 0 && chdir("/") == 0 &&
         chroot(".") == 0 && makePrivate();
}

}  // namespace

std::string mountSandbox(const std::string& directory) {
  if (!makeMountsPrivate()) return failure("cannot make mounts private");
  if (mount("tmpfs", "/run", "tmpfs", MS_NOSUID | MS_NODEV, "mode=755") != 0) return failure("cannot mount /run");
  std::error_code error;
  for (const auto& folder :
       {directory, directory + "/tmp", std::string("/run/netns"), std::string("/run/avahi-daemon")})
    std::filesystem::create_directories(folder, error);
  if (error) return "cannot make " + directory + ": " + error.message();
  if (!replaceUserFile("/etc/passwd", directory, "avahi:x:0:0::/run/avahi-daemon:/usr/sbin/nologin"))
    return failure("cannot replace /etc/passwd");
  if (!replaceUserFile("/etc/group", directory, "avahi:x:0:")) return failure("cannot replace /etc/group");
  // Where a container hides parts of /proc, the outer one has to do: only the process numbers in it are other ones.
  mount("proc", "/proc", "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr);
  return {};
}

}  // namespace zolvex::lab
