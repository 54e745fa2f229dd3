#include "core/Log.h"

#include <fmt/chrono.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace zolvex {

namespace {

struct SinkHolder {
  std::mutex mutex;
  LogSink sink = writeToStandardError;
};

// Never destroyed: other threads may still log while the process ends.
SinkHolder& sinkHolder() {
  static auto* holder = new SinkHolder;
  return *holder;
}

}  // namespace

LogSink setLogSink(LogSink sink) {
  auto& holder = sinkHolder();
  const std::lock_guard lock(holder.mutex);
  return std::exchange(holder.sink, std::move(sink));
}

void writeToStandardError(const LogRecord& record) {
  using namespace std::chrono;
  const auto now = floor<milliseconds>(system_clock::now());
  const auto seconds = system_clock::to_time_t(now);
  std::tm local{};
  localtime_r(&seconds, &local);
  const auto line = fmt::format("{:%H:%M:%S}.{:03} {} {}: {}\n", local, now.time_since_epoch().count() % 1000,
                                nameOf(record.level), record.category, record.message);
  std::fwrite(line.data(), 1, line.size(), stderr);
}

std::string_view nameOf(LogLevel level) {
  switch (level) {
    case LogLevel::info:
      return "info";
    case LogLevel::error:
      return "error";
    case LogLevel::fatal:
      return "fatal";
  }
  return "?";
}

void Logger::write(LogLevel level, std::string_view message) const {
  auto& holder = sinkHolder();
  const std::lock_guard lock(holder.mutex);
  if (holder.sink) holder.sink({level, category_, message});
}

void Logger::fatal(std::string_view message) const {
  write(LogLevel::fatal, message);
  std::abort();
}

}  // namespace zolvex
