#pragma once

#include "core/Log.h"

#include <mutex>
#include <string>
#include <vector>

namespace zolvex::test {

/// Collects what is logged while it lives. At its end it fails the current test for every error line that the test
/// did not announce with expectError(), and for every announced one that did not come.
class LogCapture {
 public:
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;

  /// The text of all lines so far, oldest first. Any thread.
  std::vector<std::string> lines() const;
  bool contains(const std::string& line) const;

  /// How often exactly this line was logged.
  int count(const std::string& line) const;

  /// Announces error lines that start with `start`: at least one must come, any number may.
  void expectError(std::string start);

 private:
  struct Line {
    LogLevel level;
    std::string text;
  };
  mutable std::mutex mutex_;
  std::vector<Line> lines_;
  std::vector<std::string> expectedErrors_;
  LogSink previous_;
};

}  // namespace zolvex::test
