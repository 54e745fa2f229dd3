#include "core/LogFeed.h"
#include "support/LogCapture.h"
#include "support/VirtualTime.h"

#include <gtest/gtest.h>

#include <future>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace zolvex::test {
namespace {

using Lines = std::vector<std::string>;

/// A feed of the category "Heard" in front of the test's own log.
struct LogFeedTest : testing::Test {
  LogCapture log;
  VirtualTime time;
  Lines told;
  std::optional<LogFeed> feed{std::in_place, time, std::vector<std::string_view>{"Heard"}};
  Subscription observer = feed->logged.observe(
      [this](const std::string& category, const std::string& message) { told.push_back(category + ": " + message); });
};

TEST_F(LogFeedTest, repeatsTheChosenCategoriesInALaterTurn) {
  Logger("Heard").info("one");
  Logger("Other").info("two");
  EXPECT_TRUE(told.empty());
  time.runUntilIdle();
  EXPECT_EQ(told, Lines{"Heard: one"});
  EXPECT_EQ(log.lines(), (Lines{"one", "two"}));
}

TEST_F(LogFeedTest, observersMayLogThemselves) {
  const auto echo = feed->logged.observe([](const auto&, const auto& message) {
    if (message == "one") Logger("Heard").info("two");
  });
  Logger("Heard").info("one");
  time.runUntilIdle();
  EXPECT_EQ(told, (Lines{"Heard: one", "Heard: two"}));
}

TEST_F(LogFeedTest, afterItsEndLinesGoWhereTheyWentBefore) {
  Logger("Heard").info("one");
  feed.reset();
  Logger("Heard").info("two");
  time.runUntilIdle();
  EXPECT_TRUE(told.empty());
  EXPECT_EQ(log.lines(), (Lines{"one", "two"}));
}

TEST_F(LogFeedTest, linesThatAnotherThreadWritesDuringItsEndAreNotLost) {
  constexpr int lines = 5'000;
  std::promise<void> begun;
  std::thread writer([&begun] {
    for (int i = 0; i < lines; ++i) {
      Logger("Other").info("line");
      if (i == 0) begun.set_value();
    }
  });
  begun.get_future().wait();
  feed.reset();
  writer.join();
  EXPECT_EQ(log.count("line"), lines);
}

}  // namespace
}  // namespace zolvex::test
