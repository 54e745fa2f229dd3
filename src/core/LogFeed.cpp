#include "core/LogFeed.h"

#include <algorithm>
#include <utility>

namespace zolvex {

LogFeed::LogFeed(MainQueue& mainQueue, std::vector<std::string_view> categories)
    : mainQueue_(mainQueue), categories_(std::move(categories)), previous_(setLogSink({})) {
  setLogSink([this](const LogRecord& record) { pass(record); });
}

LogFeed::~LogFeed() {
  setLogSink(previous_);  // a copy: another thread may be using it until the sink is replaced
}

void LogFeed::pass(const LogRecord& record) const {
  if (previous_) previous_(record);
  if (std::find(categories_.begin(), categories_.end(), record.category) == categories_.end()) return;
  // Later, because the log is not to be used from within its sink.
  mainQueue_.async(lifetime_.guard([this, category = std::string(record.category),
                                    message = std::string(record.message)] { logged.emit(category, message); }));
}

}  // namespace zolvex
