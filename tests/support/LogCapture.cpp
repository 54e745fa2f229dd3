#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace zolvex::test {

LogCapture::LogCapture() {
  previous_ = setLogSink([this](const LogRecord& record) {
    const std::lock_guard lock(mutex_);
    lines_.push_back({record.level, std::string(record.message)});
  });
}

LogCapture::~LogCapture() {
  setLogSink(previous_);
  const auto announced = [this](const Line& line) {
    return std::any_of(expectedErrors_.begin(), expectedErrors_.end(),
                       [&](const std::string& start) { return line.text.starts_with(start); });
  };
  for (const auto& line : lines_)
    if (line.level != LogLevel::info && !announced(line)) ADD_FAILURE() << "unexpected error logged: " << line.text;
  for (const auto& start : expectedErrors_) {
    const auto came = std::any_of(lines_.begin(), lines_.end(), [&](const Line& line) {
      return line.level != LogLevel::info && line.text.starts_with(start);
    });
    if (!came) ADD_FAILURE() << "expected error was not logged: " << start;
  }
}

std::vector<std::string> LogCapture::lines() const {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> texts;
  for (const auto& line : lines_) texts.push_back(line.text);
  return texts;
}

bool LogCapture::contains(const std::string& line) const {
  return count(line) > 0;
}

int LogCapture::count(const std::string& line) const {
  const auto all = lines();
  return static_cast<int>(std::count(all.begin(), all.end(), line));
}

void LogCapture::expectError(std::string start) {
  const std::lock_guard lock(mutex_);
  expectedErrors_.push_back(std::move(start));
}

}  // namespace zolvex::test
