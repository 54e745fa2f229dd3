#pragma once

#include <span>
#include <string>
#include <string_view>

namespace zolvex {

/// What the command line of application mode asks for.
struct ApplicationArguments {
  enum class Action { run, showHelp, showVersion, refuse };

  Action action = Action::run;
  std::string unknown = {};  ///< The argument that made it refuse.
};

/// `arguments` without the program's name. A command line that holds the worker flag, though not in first place, runs
/// the application, whatever else it holds.
ApplicationArguments parseApplicationArguments(std::span<const std::string> arguments);

inline constexpr std::string_view applicationHelp =
    "Usage: zolvex [--help | --version]\n\n"
    "Shares one set of Bluetooth input devices between two computers. Runs in the background until it gets SIGTERM or\n"
    "SIGINT; control it with zolvexctl. Settings are in $XDG_CONFIG_HOME/zolvex/settings.json.\n\n"
    "Exit status: 0 ended as asked, 1 it runs already, 2 usage.\n";

}  // namespace zolvex
