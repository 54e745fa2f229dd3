#include "lab/world/ProcessTree.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <thread>
#include <utility>

namespace zolvex::lab {

namespace {

constexpr auto pauseBetweenLooks = std::chrono::milliseconds(1);
constexpr int mostLooks = 200;

struct ProcessStatus {
  char state;
  pid_t parent;
};

/// The name of the program, which stands before these in brackets, may hold anything.
std::optional<ProcessStatus> statusOf(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/stat");
  std::string text;
  std::getline(file, text, '\0');
  const auto end = text.rfind(") ");
  if (end == std::string::npos || end + 4 >= text.size()) return std::nullopt;
  return ProcessStatus{text[end + 2], static_cast<pid_t>(std::strtol(text.c_str() + end + 4, nullptr, 10))};
}

/// Stopped, or ended.
bool standsStill(pid_t process) {
  const auto status = statusOf(process);
  return !status || status->state == 'T' || status->state == 'Z';
}

}  // namespace

std::vector<pid_t> ProcessTree::descendantsOf(pid_t process) {
  std::vector<pid_t> all{process};
  std::error_code error;
  // A child may have a smaller number than its parent, so look until there is nothing new.
  for (std::size_t known = 0; known != all.size();) {
    known = all.size();
    for (const auto& entry : std::filesystem::directory_iterator("/proc", error)) {
      const auto number = static_cast<pid_t>(std::strtol(entry.path().filename().c_str(), nullptr, 10));
      if (number == 0 || std::ranges::find(all, number) != all.end()) continue;
      const auto status = statusOf(number);
      if (status && std::ranges::find(all, status->parent) != all.end()) all.push_back(number);
    }
  }
  all.erase(all.begin());
  return all;
}

void ProcessTree::freeze() {
  if (isFrozen()) return;
  kill(root_, SIGSTOP);
  frozen_.push_back(root_);
  for (int look = 0; look < mostLooks && freezeNewOnes(); ++look) std::this_thread::sleep_for(pauseBetweenLooks);
}

/// A process that still runs may start others. False when nothing runs any more.
bool ProcessTree::freezeNewOnes() {
  auto isAnyRunning = !std::ranges::all_of(frozen_, standsStill);
  for (const auto process : descendantsOf(root_)) {
    if (std::ranges::find(frozen_, process) != frozen_.end()) continue;
    kill(process, SIGSTOP);
    frozen_.push_back(process);
    isAnyRunning = true;
  }
  return isAnyRunning;
}

// The descendants go first: they have nobody to miss.
void ProcessTree::thaw() {
  std::ranges::reverse(frozen_);
  for (const auto process : std::exchange(frozen_, {})) kill(process, SIGCONT);
}

}  // namespace zolvex::lab
