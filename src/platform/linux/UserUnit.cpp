#include "platform/linux/UserUnit.h"

#include "platform/linux/UserUnitTemplate.h"

#include <fmt/core.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace zolvex {

namespace {

namespace files = std::filesystem;

constexpr mode_t readableByAll = S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;
constexpr std::string_view placeholder = "@ZOLVEX_PROGRAM@";
constexpr std::string_view command = "ExecStart=";
constexpr std::string_view ownMark = "[X-Zolvex]";  // systemd skips what begins with X-
constexpr auto ownNote =
    "\n[X-Zolvex]\n# Zolvex wrote this file, and removes it at its end when launch at login is switched off.\n";

bool exists(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0;
}

std::string contentOf(const std::string& path) {
  std::ostringstream content;
  content << std::ifstream(path).rdbuf();
  return content.str();
}

/// As systemd defines it: a link to /dev/null, or an empty file.
bool isMask(const std::string& path) {
  std::error_code error;
  if (files::read_symlink(path, error) == "/dev/null") return true;
  return files::is_regular_file(path, error) && files::file_size(path, error) == 0;
}

/// The path, one that canStart() accepts, as a word of a unit file.
std::string quoted(const std::string& path) {
  std::string word;
  for (const char character : path) word += character == '%' ? "%%" : std::string(1, character);
  return path.find_first_of(" ;") == std::string::npos ? word : '"' + word + '"';
}

/// The first word of a command line of a unit file, for what quoted() makes and for plain paths.
std::string firstWord(std::string_view text) {
  const auto start = text.find_first_not_of("@-:+!| \t");  // how the program is to be started
  text.remove_prefix(std::min(start, text.size()));
  const char end = text.starts_with('"') ? '"' : ' ';
  if (end == '"') text.remove_prefix(1);
  std::string word;
  for (std::size_t i = 0; i < text.size() && text[i] != end; ++i) {
    if (text.substr(i, 2) == "%%") ++i;
    word += text[i];
  }
  return word;
}

/// What a unit file starts; empty when it cannot be read or says nothing of it.
std::string programOf(const std::string& file) {
  std::ifstream lines(file);
  for (std::string line; std::getline(lines, line);)
    if (line.starts_with(command)) return firstWord(std::string_view(line).substr(command.size()));
  return {};
}

/// Names without a folder are looked for by systemd.
bool isThere(const std::string& program) {
  return !program.empty() && (program.front() != '/' || access(program.c_str(), X_OK) == 0);
}

/// The links in `directory` through which some target starts the unit.
std::vector<std::string> linksIn(const std::string& directory) {
  std::vector<std::string> links;
  std::error_code error;
  for (files::directory_iterator folder(directory, error), end; !error && folder != end; folder.increment(error)) {
    const auto name = folder->path().filename().string();
    const auto link = (folder->path() / UserUnit::name).string();
    if ((name.ends_with(".wants") || name.ends_with(".requires")) && exists(link)) links.push_back(link);
  }
  return links;
}

}  // namespace

UserUnit::UserUnit(const std::string& configHome, std::vector<std::string> sharedDirectories, std::string program)
    : configHome_(configHome),
      directory_(configHome + "/systemd/user"),
      ownFile_(directory_ + "/" + name),
      sharedDirectories_(std::move(sharedDirectories)),
      program_(std::move(program)) {}

bool UserUnit::canStart(const std::string& program) {
  return std::none_of(program.begin(), program.end(), [](unsigned char character) {
    return std::iscntrl(character) || character == '"' || character == '\'' || character == '\\';
  });
}

std::string UserUnit::text(const std::string& program) {
  std::string text(userUnitTemplate);
  text.replace(text.find(placeholder), placeholder.size(), quoted(program));
  return text + ownNote;
}

UserUnit::State UserUnit::state() const {
  const auto file = fileInForce();
  if (file && isMask(*file)) return State::masked;
  if (!isLinked()) return State::off;
  return isThere(startedProgram()) ? State::on : State::startsNothing;
}

std::optional<std::string> UserUnit::fileInForce() const {
  return exists(ownFile_) ? ownFile_ : sharedFile();
}

std::optional<std::string> UserUnit::sharedFile() const {
  for (const auto& directory : sharedDirectories_)
    if (auto file = directory + "/" + name; exists(file)) return file;
  return std::nullopt;
}

bool UserUnit::isLinked() const {
  if (!linksIn(directory_).empty()) return true;
  for (const auto& directory : sharedDirectories_)
    if (!linksIn(directory).empty()) return true;
  return false;
}

bool UserUnit::isOwnFileOurs() const {
  return contentOf(ownFile_).find(ownMark) != std::string::npos;
}

std::string UserUnit::startedProgram() const {
  const auto file = fileInForce();
  return file ? programOf(*file) : "";
}

FileFailure UserUnit::enable() const {
  const auto file = fileInForce();
  if (file && isMask(*file)) return fmt::format("{0} is masked; \"systemctl --user unmask {0}\" allows it again", name);
  if (auto failure = provideFile()) return failure;
  return link();
}

FileFailure UserUnit::provideFile() const {
  if (exists(ownFile_) && !isOwnFileOurs()) return std::nullopt;
  const auto shared = sharedFile();
  if (!shared || programOf(*shared) != program_) return replaceFile(ownFile_, text(program_), readableByAll);
  if (!exists(ownFile_) || unlink(ownFile_.c_str()) == 0) return std::nullopt;
  return fileFailure("remove", ownFile_);
}

FileFailure UserUnit::link() const {
  const auto folder = wantsDirectory();
  const auto link = folder + "/" + name;
  if (auto failure = makeDirectories(folder)) return failure;
  unlink(link.c_str());
  if (symlink(fileInForce().value_or(ownFile_).c_str(), link.c_str()) == 0) return std::nullopt;
  return fileFailure("make the link", link);
}

std::string UserUnit::wantsDirectory() const {
  return directory_ + "/" + target + ".wants";
}

FileFailure UserUnit::disable() const {
  for (const auto& link : linksIn(directory_))
    if (unlink(link.c_str()) != 0) return fileFailure("remove", link);
  if (state() != State::on) return std::nullopt;
  return fmt::format("{0} is enabled for all users; \"systemctl --user mask {0}\" switches it off for one", name);
}

FileFailure UserUnit::removeUnused() const {
  if (!isOwnFileOurs() || isLinked()) return std::nullopt;
  if (unlink(ownFile_.c_str()) != 0) return fileFailure("remove", ownFile_);
  removeEmptyDirectories(wantsDirectory(), directory_);
  removeEmptyDirectories(directory_, configHome_);
  return std::nullopt;
}

FileFailure UserUnit::followProgram() const {
  if (!isOwnFileOurs() || state() != State::startsNothing) return std::nullopt;
  return replaceFile(ownFile_, text(program_), readableByAll);
}

}  // namespace zolvex
