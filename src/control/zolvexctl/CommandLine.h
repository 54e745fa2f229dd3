#pragma once

#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace zolvex::control {

/// What one command takes, and its help.
struct CommandDescription {
  std::string_view name;
  std::string_view arguments;  ///< As shown behind the name, for example "ADDRESS...".
  std::size_t fewest = 0;      ///< Number of arguments.
  std::size_t most = 0;
  std::string_view options;  ///< The letters of the options it takes: j(son) w(ait) m(issing) r(efresh).
  std::string_view summary;
  std::string_view details;
};

/// All commands, in the order of the help.
std::span<const CommandDescription> commandDescriptions();

/// A command line that makes sense.
struct Invocation {
  const CommandDescription* command = nullptr;  ///< None for "--help" and "--version" alone.
  std::vector<std::string> arguments;
  bool help = false;
  bool version = false;
  bool json = false;
  bool wait = false;
  double waitSeconds = 0;
  bool missing = false;
  bool refresh = false;
};

struct UsageError {
  std::string text;
};

/// How long --wait waits when it is not told: longer than any flow can take with a handful of devices.
inline constexpr double defaultWaitSeconds = 180;

/// `arguments` without the program's name.
std::variant<Invocation, UsageError> parseCommandLine(const std::vector<std::string>& arguments);

/// The help of one command, or the overview.
std::string helpText(const CommandDescription* command);

}  // namespace zolvex::control
