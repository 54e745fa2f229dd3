#include "app/ApplicationArguments.h"

#include <gtest/gtest.h>

#include <vector>

namespace zolvex {
namespace {

using Action = ApplicationArguments::Action;

ApplicationArguments parsed(const std::vector<std::string>& arguments) {
  return parseApplicationArguments(arguments);
}

TEST(ApplicationArguments, noneRunsTheApplication) {
  EXPECT_EQ(parsed({}).action, Action::run);
}

TEST(ApplicationArguments, aWorkerFlagBehindOthersRunsTheApplication) {
  EXPECT_EQ(parsed({"x", "--zolvex-bluetooth-worker"}).action, Action::run);
  EXPECT_EQ(parsed({"--help", "--zolvex-bluetooth-worker", "listPaired"}).action, Action::run);
}

TEST(ApplicationArguments, helpAndVersionAreShown) {
  EXPECT_EQ(parsed({"--help"}).action, Action::showHelp);
  EXPECT_EQ(parsed({"-h"}).action, Action::showHelp);
  EXPECT_EQ(parsed({"--version"}).action, Action::showVersion);
}

TEST(ApplicationArguments, everythingElseIsRefused) {
  EXPECT_EQ(parsed({"status"}).unknown, "status");
  EXPECT_EQ(parsed({"--version", "now"}).unknown, "now");
  EXPECT_EQ(parsed({""}).action, Action::refuse);
  EXPECT_EQ(parsed({"--zolvex-bluetooth-workers"}).action, Action::refuse);
}

}  // namespace
}  // namespace zolvex
