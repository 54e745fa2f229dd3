#include "OwnCgroup.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sched.h>
#include <sstream>
#include <sys/mount.h>
#include <unistd.h>
#include <vector>

namespace zolvex::test {

namespace {

namespace files = std::filesystem;

constexpr auto standardPlace = "/sys/fs/cgroup";

std::string failure(const std::string& what) {
  return what + ": " + std::strerror(errno);
}

/// Where the tree of the second version is mounted; empty when it is not.
std::string mountPoint() {
  std::ifstream mounts("/proc/self/mounts");
  for (std::string device, place, type, rest; mounts >> device >> place >> type && std::getline(mounts, rest);)
    if (type == "cgroup2") return place;
  return {};
}

/// This process's place in that tree, as "/a/b".
std::string ownPlace() {
  std::ifstream lines("/proc/self/cgroup");
  for (std::string line; std::getline(lines, line);)
    if (line.starts_with("0::/")) return line.substr(3);
  return "/";
}

}  // namespace

OwnCgroup::OwnCgroup() {
  if (const auto tree = mountPoint(); !tree.empty())
    path_ = (files::path(tree + ownPlace()) / ("zolvex-test-" + std::to_string(getpid()))).string();
}

std::string OwnCgroup::enter() const {
  if (path_.empty()) return "no control groups of the second version are mounted";
  std::error_code error;
  if (!files::create_directory(path_, error)) return "cannot make the control group " + path_ + ": " + error.message();
  std::ofstream members(path_ + "/cgroup.procs");
  members << 0 << std::flush;  // the writer itself
  if (!members) return failure("cannot enter the control group " + path_);
  // The process outside has to find the branch where it was.
  if (unshare(CLONE_NEWCGROUP | CLONE_NEWNS) != 0) return failure("cannot make a namespace of control groups");
  if (mount("cgroup2", standardPlace, "cgroup2", 0, nullptr) != 0) return failure("cannot mount the control groups");
  return {};
}

void OwnCgroup::remove() const {
  // Directories only: the files in them come and go with them. The deepest go first.
  std::error_code error;
  std::vector<files::path> groups{path_};
  for (files::recursive_directory_iterator group(path_, error), end; !error && group != end; group.increment(error))
    if (group->is_directory(error)) groups.push_back(group->path());
  for (auto group = groups.rbegin(); group != groups.rend(); ++group) rmdir(group->c_str());
}

}  // namespace zolvex::test
