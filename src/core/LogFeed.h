#pragma once

#include "core/Lifetime.h"
#include "core/Log.h"
#include "core/MainQueue.h"
#include "core/Published.h"

#include <string>
#include <string_view>
#include <vector>

namespace zolvex {

/// Repeats the log lines of some categories to observers, beside the sink that they go to. While it lives it stands in
/// front of the sink that was set before it; feeds and sinks end in the reverse order of their beginning. Main thread;
/// the lines may come from any.
class LogFeed {
 public:
  LogFeed(MainQueue& mainQueue, std::vector<std::string_view> categories);
  ~LogFeed();
  LogFeed(const LogFeed&) = delete;

  /// Category and message, told in a later turn of the main queue.
  Signal<const std::string&, const std::string&> logged;

 private:
  void pass(const LogRecord& record) const;

  MainQueue& mainQueue_;
  std::vector<std::string_view> categories_;
  LogSink previous_;
  Lifetime lifetime_;
};

}  // namespace zolvex
