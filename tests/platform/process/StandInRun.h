#pragma once

#include "platform/linux/PosixProcessLauncher.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>
#include <sys/wait.h>
#include <variant>
#include <vector>

namespace zolvex::test {

inline const std::string standInExecutable = ZOLVEX_STAND_IN;

/// Longer than anything here takes on a busy machine.
inline constexpr Seconds ample{30.0};

/// What the stand-ins started from now on do.
inline void setStandInPlan(const std::string& plan) {
  setenv("STAND_IN", plan.c_str(), 1);
}

inline std::unique_ptr<ChildProcess> startStandIn(ProcessLauncher& launcher, const std::string& plan) {
  setStandInPlan(plan);
  auto launched = launcher.launch(standInExecutable, std::vector<std::string>{"first", "second one"});
  if (const auto* error = std::get_if<ProcessLauncher::Error>(&launched)) {
    ADD_FAILURE() << "the stand-in did not start: " << error->description;
    std::abort();
  }
  return std::get<std::unique_ptr<ChildProcess>>(std::move(launched));
}

/// Whether this process has children, running or not reaped.
inline bool hasChildren() {
  siginfo_t info{};
  return waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0;
}

inline auto openDescriptors() {
  using Iterator = std::filesystem::directory_iterator;
  return std::distance(Iterator("/proc/self/fd"), Iterator());
}

}  // namespace zolvex::test
