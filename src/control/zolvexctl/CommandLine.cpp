#include "control/zolvexctl/CommandLine.h"

#include "core/SettingsKeys.h"

#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <optional>

namespace zolvex::control {

namespace {

constexpr auto anyNumber = std::numeric_limits<std::size_t>::max();

constexpr std::array commands{
    CommandDescription{"status", "", 0, 0, "jr", "Show who has the devices, and the peer", ""},
    CommandDescription{
        "switch", "", 0, 0, "jwm", "Take the devices: ask the peer to release, then connect here",
        "What \"Switch to Me\" does. When the peer does not answer, the devices are connected anyway.\n"},
    CommandDescription{"quick-connect", "", 0, 0, "jwm", "Connect the devices without asking the peer", ""},
    CommandDescription{"release", "", 0, 0, "jw", "Let the devices go, so that the other computer can take them", ""},
    CommandDescription{"cancel", "", 0, 0, "", "Abandon the switch or release that is running", ""},
    CommandDescription{"devices", "", 0, 0, "j", "List the paired devices; managed ones are marked with *", ""},
    CommandDescription{"manage", "ADDRESS...", 1, anyNumber, "", "Choose the devices that move between the computers",
                       "The addresses replace the earlier choice. \"zolvexctl devices\" shows them.\n"},
    CommandDescription{"peers", "", 0, 0, "j", "Show the peer and the other computers that were found", ""},
    CommandDescription{"add-peer", "ID", 1, 1, "", "Make a found computer the peer",
                       "\"zolvexctl peers\" shows the IDs. The new peer replaces the earlier one.\n"},
    CommandDescription{"remove-peer", "", 0, 0, "", "Forget the peer", ""},
    CommandDescription{"transport", "bluetooth|bonjour", 1, 1, "", "Choose the link to the peer", ""},
    CommandDescription{"settings", "[KEY [VALUE]]", 0, 2, "j", "Show the settings, or one, or change one",
                       "Keys: autoConnect, autoRelease, globalHotkeyEnabled, launchAtLogin (true or false);\n"
                       "autoReleaseHours (1/60, 5/60, 1, 8, or -1 for when locked); transportMode (bluetooth or\n"
                       "bonjour). With --json a change prints the value that is then in effect.\n"},
    CommandDescription{"show", "", 0, 0, "", "Open the window", "Where the panel has the icon, it opens beside it.\n"},
    CommandDescription{"watch", "", 0, 0, "j", "Show what changes and what is decided, until interrupted", ""},
};

struct Option {
  char letter;
  std::string_view text;
  std::string_view help;
};

constexpr std::array options{
    Option{'j', "--json", "print JSON"},
    Option{'w', "--wait[=SECONDS]", "wait until it has ended and tell how (180 s at the most)"},
    Option{'m', "--missing", "also while some of the devices are here: connect the missing ones"},
    Option{'r', "--refresh", "look at the devices first, as opening the popover does; ends a switch that has arrived"},
};

const CommandDescription* commandNamed(std::string_view name) {
  const auto* const found =
      std::find_if(commands.begin(), commands.end(), [&](const auto& c) { return c.name == name; });
  return found == commands.end() ? nullptr : found;
}

std::optional<double> seconds(std::string_view text) {
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || !(value > 0 && value <= 86'400)) return std::nullopt;
  return value;
}

/// Reads one option into `invocation`. Returns its letter, 'h' for one that every command takes, 0 for no option.
char readOption(std::string_view text, Invocation& invocation) {
  if (text == "--help" || text == "-h") return invocation.help = true, 'h';
  if (text == "--version") return invocation.version = true, 'h';
  if (text == "--json") return invocation.json = true, 'j';
  if (text == "--missing") return invocation.missing = true, 'm';
  if (text == "--refresh") return invocation.refresh = true, 'r';
  if (!text.starts_with("--wait")) return 0;
  invocation.wait = true;
  const auto value =
      text == "--wait" ? defaultWaitSeconds : seconds(text.substr(0, 7) == "--wait=" ? text.substr(7) : "");
  invocation.waitSeconds = value.value_or(0);
  return value ? 'w' : 0;
}

/// A negative number is an argument.
bool looksLikeOption(std::string_view text) {
  return text.size() > 1 && text[0] == '-' && !(text[1] >= '0' && text[1] <= '9');
}

UsageError misuse(const Invocation& invocation, std::string text) {
  return {fmt::format("{}\nSee: zolvexctl {}--help", text,
                      invocation.command ? std::string(invocation.command->name) + " " : "")};
}

std::optional<UsageError> countProblem(const Invocation& invocation) {
  if (!invocation.command) return misuse(invocation, "Which command?");
  const auto& command = *invocation.command;
  if (invocation.arguments.size() < command.fewest)
    return misuse(invocation, fmt::format("Missing argument: {}", command.arguments));
  if (invocation.arguments.size() > command.most)
    return misuse(invocation, fmt::format("Too many arguments: {}", invocation.arguments[command.most]));
  return std::nullopt;
}

std::optional<UsageError> valueProblem(const Invocation& invocation) {
  if (invocation.command->name != "transport") return std::nullopt;
  const auto& mode = invocation.arguments.front();
  if (mode == settings::transportBluetooth || mode == settings::transportBonjour) return std::nullopt;
  return misuse(invocation, "The transport is either bluetooth or bonjour.");
}

std::string optionHelp(std::string_view letters) {
  std::string text;
  for (const auto& option : options)
    if (letters.find(option.letter) != std::string_view::npos)
      text += fmt::format("  {:<18} {}\n", option.text, option.help);
  return text + fmt::format("  {:<18} {}\n", "--help", "show this help");
}

std::string overview() {
  std::string text = "Usage: zolvexctl COMMAND [ARGUMENT...] [OPTION...]\n\nControls the Zolvex of this session.\n\n";
  for (const auto& command : commands)
    text += fmt::format("  {:<28} {}\n", fmt::format("{} {}", command.name, command.arguments), command.summary);
  text += "\n  --version, --help, COMMAND --help\n\nExit status: 0 done, 1 it ended badly, 2 usage, ";
  return text + "3 Zolvex is not running.\n";
}

}  // namespace

std::span<const CommandDescription> commandDescriptions() {
  return commands;
}

std::variant<Invocation, UsageError> parseCommandLine(const std::vector<std::string>& arguments) {
  Invocation invocation;
  std::string letters;
  bool optionsEnded = false;
  for (const auto& argument : arguments) {
    if (!optionsEnded && argument == "--") {
      optionsEnded = true;
    } else if (!optionsEnded && looksLikeOption(argument)) {
      const auto letter = readOption(argument, invocation);
      if (letter == 0) return misuse(invocation, fmt::format("Unknown option: {}", argument));
      letters += letter;
    } else if (!invocation.command) {
      invocation.command = commandNamed(argument);
      if (!invocation.command) return misuse(invocation, fmt::format("Unknown command: {}", argument));
    } else {
      invocation.arguments.push_back(argument);
    }
  }
  if (invocation.help || invocation.version) return invocation;
  if (const auto problem = countProblem(invocation)) return *problem;
  if (const auto problem = valueProblem(invocation)) return *problem;
  for (const auto& option : options)
    if (letters.find(option.letter) != std::string::npos &&
        invocation.command->options.find(option.letter) == std::string_view::npos)
      return misuse(invocation, fmt::format("{} does not take {}.", invocation.command->name, option.text));
  return invocation;
}

std::string helpText(const CommandDescription* command) {
  if (!command) return overview();
  const auto space = command->arguments.empty() ? "" : " ";
  return fmt::format("Usage: zolvexctl {}{}{} [OPTION...]\n\n{}.\n{}\n{}", command->name, space, command->arguments,
                     command->summary, command->details, optionHelp(command->options));
}

}  // namespace zolvex::control
