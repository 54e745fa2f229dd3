#pragma once

#include <fmt/core.h>

#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace zolvex {

enum class LogLevel { info, error, fatal };

struct LogRecord {
  LogLevel level;
  std::string_view category;
  std::string_view message;
};

/// Where log records go. Called on any thread, one record at a time.
using LogSink = std::function<void(const LogRecord&)>;

/// Replaces the process's sink (initially writeToStandardError) and returns the previous one. Any thread.
LogSink setLogSink(LogSink sink);

/// One line "TIME LEVEL CATEGORY: MESSAGE" on standard error.
void writeToStandardError(const LogRecord& record);

/// "info", "error" or "fatal".
std::string_view nameOf(LogLevel level);

/// Subsystem under which everything is logged.
inline constexpr std::string_view logSubsystem = "quenmar.zolvex.app.macos";

/// Writes log lines of one category: info for progress, error for failures. Any thread.
class Logger {
 public:
  /// `category` must outlive the logger; in practice a literal.
  explicit constexpr Logger(std::string_view category) : category_(category) {}

  template <class... Args>
  void info(fmt::format_string<Args...> format, Args&&... args) const {
    write(LogLevel::info, fmt::format(format, std::forward<Args>(args)...));
  }

  template <class... Args>
  void error(fmt::format_string<Args...> format, Args&&... args) const {
    write(LogLevel::error, fmt::format(format, std::forward<Args>(args)...));
  }

  /// Logs and ends the process with abort(3).
  [[noreturn]] void fatal(std::string_view message) const;

 private:
  void write(LogLevel level, std::string_view message) const;

  std::string_view category_;
};

}  // namespace zolvex
