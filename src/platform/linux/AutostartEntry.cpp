#include "platform/linux/AutostartEntry.h"

#include "core/Text.h"
#include "platform/linux/UserUnit.h"

#include <fmt/core.h>

#include <fstream>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace zolvex {

namespace {

constexpr mode_t readableByAll = S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;
constexpr auto ownKey = "X-Zolvex-Starts";
constexpr auto unit = "unit";

constexpr auto entryText = R"([Desktop Entry]
Type=Application
Name=Zolvex
Comment=Moves Bluetooth input devices between two computers
TryExec={}
Exec={}
Terminal=false
X-Zolvex-Starts={}
)";

// Only while the unit is enabled: "systemctl --user disable" must be enough to switch it off. systemd itself need not
// turn this entry into a service, as it starts the unit anyhow.
constexpr auto startUnit =
    R"(sh -c "systemctl --user --quiet is-enabled {0} && {{ systemctl --user import-environment DISPLAY )"
    R"(WAYLAND_DISPLAY XAUTHORITY XDG_CURRENT_DESKTOP XDG_SESSION_TYPE; systemctl --user start {0}; }}")";

/// A string of a desktop entry.
std::string escaped(std::string_view text) {
  std::string result;
  for (const char character : text) {
    if (character == '\\')
      result += R"(\\)";
    else if (character == '\n')
      result += R"(\n)";
    else if (character == '\t')
      result += R"(\t)";
    else if (character == '\r')
      result += R"(\r)";
    else
      result += character;
  }
  return result;
}

/// The path as the one word of a command line in a desktop entry.
std::string commandOf(std::string_view path) {
  std::string word;
  for (const char character : path) {
    if (std::string_view(R"("`$\)").find(character) != std::string_view::npos) word += '\\';
    word += character;
    if (character == '%') word += '%';
  }
  const bool isPlain = path.find_first_of(" \t\n\"'\\><~|&;$*?#()`") == std::string_view::npos;
  return escaped(isPlain ? word : '"' + word + '"');
}

std::string unescaped(std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isEscape = text[i] == '\\' && i + 1 < text.size();
    const char character = isEscape ? text[++i] : text[i];
    result += !isEscape          ? character
              : character == 's' ? ' '
              : character == 'n' ? '\n'
              : character == 't' ? '\t'
              : character == 'r' ? '\r'
                                 : character;
  }
  return result;
}

}  // namespace

AutostartEntry::AutostartEntry(const std::string& configHome, std::string program)
    : path_(configHome + "/autostart/quenmar.zolvex.app.desktop"), program_(std::move(program)) {}

std::string AutostartEntry::textForProgram(const std::string& program) {
  return fmt::format(entryText, escaped(program), commandOf(program), "program");
}

std::string AutostartEntry::textForUnit() {
  return fmt::format(entryText, "systemctl", fmt::format(startUnit, UserUnit::name), unit) + "X-systemd-skip=true\n";
}

AutostartEntry::State AutostartEntry::state() const {
  if (access(path_.c_str(), F_OK) != 0) return State::missing;
  if (value("Hidden") == "true" || value("X-GNOME-Autostart-enabled") == "false" ||
      value("X-MATE-Autostart-enabled") == "false")
    return State::off;
  const auto needed = value("TryExec");
  return needed.starts_with('/') && access(needed.c_str(), X_OK) != 0 ? State::startsNothing : State::on;
}

bool AutostartEntry::isOurs() const {
  return !value(ownKey).empty();
}

bool AutostartEntry::startsUnit() const {
  return value(ownKey) == unit;
}

/// Of the group "Desktop Entry", the first one.
std::string AutostartEntry::value(const std::string& key) const {
  std::ifstream lines(path_);
  bool isInGroup = false;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with('[')) {
      if (isInGroup) break;
      isInGroup = line.starts_with("[Desktop Entry]");
    }
    const auto equals = line.find('=');
    if (!isInGroup || equals == std::string::npos) continue;
    if (trimmed(std::string_view(line).substr(0, equals)) == key)
      return unescaped(trimmed(std::string_view(line).substr(equals + 1)));
  }
  return {};
}

FileFailure AutostartEntry::writeForProgram() const {
  return replaceFile(path_, textForProgram(program_), readableByAll);
}

FileFailure AutostartEntry::writeForUnit() const {
  return replaceFile(path_, textForUnit(), readableByAll);
}

FileFailure AutostartEntry::remove() const {
  if (!isOurs()) return state() == State::on ? FileFailure(path_ + " is not by Zolvex; remove it") : std::nullopt;
  return unlink(path_.c_str()) == 0 ? std::nullopt : FileFailure(fileFailure("remove", path_));
}

FileFailure AutostartEntry::followProgram() const {
  return isOurs() && state() == State::startsNothing ? writeForProgram() : std::nullopt;
}

}  // namespace zolvex
