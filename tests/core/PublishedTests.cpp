#include "core/Published.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace zolvex {
namespace {

TEST(Published, tellsTheNewValueJustBeforeItTakesEffect) {
  Published<int> value(1);
  std::vector<std::pair<int, int>> seen;
  const auto subscription = value.observe([&](const int& next) { seen.emplace_back(*value, next); });
  value = 2;
  EXPECT_EQ(seen, (std::vector<std::pair<int, int>>{{1, 2}}));
  EXPECT_EQ(*value, 2);
}

TEST(Published, tellsOfAssignmentsThatChangeNothing) {
  Published<std::string> value;
  int told = 0;
  const auto subscription = value.observe([&](const std::string&) { ++told; });
  value = "";
  value = "";
  EXPECT_EQ(told, 2);
}

TEST(Published, anEndedSubscriptionIsNotToldAnyMore) {
  Published<int> value;
  int told = 0;
  auto subscription = value.observe([&](const int&) { ++told; });
  value = 1;
  subscription.cancel();
  value = 2;
  EXPECT_EQ(told, 1);
}

TEST(Published, aSubscriptionMayOutliveTheValue) {
  std::optional<Published<int>> value(std::in_place);
  auto subscription = value->observe([](const int&) {});
  value.reset();
  subscription.cancel();
}

TEST(Published, observersMayLeaveAndComeWhileBeingTold) {
  Published<int> value;
  std::vector<std::string> told;
  Subscription second;
  Subscription third;
  const auto first = value.observe([&](const int&) {
    told.push_back("first");
    second.cancel();
    third = value.observe([&](const int&) { told.push_back("third"); });
  });
  second = value.observe([&](const int&) { told.push_back("second"); });
  value = 1;
  EXPECT_EQ(told, std::vector<std::string>{"first"});
}

}  // namespace
}  // namespace zolvex
