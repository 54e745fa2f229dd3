#include "control/zolvexctl/CommandLine.h"

#include <gtest/gtest.h>

namespace zolvex::control {
namespace {

Invocation parsed(const std::vector<std::string>& arguments) {
  const auto result = parseCommandLine(arguments);
  if (const auto* error = std::get_if<UsageError>(&result)) ADD_FAILURE() << error->text;
  return std::holds_alternative<Invocation>(result) ? std::get<Invocation>(result) : Invocation();
}

std::string refusal(const std::vector<std::string>& arguments) {
  const auto result = parseCommandLine(arguments);
  const auto* error = std::get_if<UsageError>(&result);
  return error ? error->text.substr(0, error->text.find('\n')) : "accepted";
}

TEST(CommandLine, knowsEveryCommandOfItsHelp) {
  for (const auto& command : commandDescriptions()) {
    std::vector<std::string> line{std::string(command.name)};
    line.resize(1 + command.fewest, "bonjour");  // which every command can take
    EXPECT_EQ(parsed(line).command, &command);
    EXPECT_NE(helpText(nullptr).find(command.name), std::string::npos);
    EXPECT_NE(helpText(&command).find("Usage: zolvexctl " + std::string(command.name)), std::string::npos);
  }
}

TEST(CommandLine, takesOptionsAnywhere) {
  EXPECT_TRUE(parsed({"--json", "status"}).json);
  EXPECT_TRUE(parsed({"status", "--json"}).json);
  EXPECT_TRUE(parsed({"switch", "--missing", "--wait"}).missing);
  EXPECT_TRUE(parsed({"status", "--refresh"}).refresh);
}

TEST(CommandLine, waitsForAGivenTimeOrASaneOne) {
  EXPECT_FALSE(parsed({"switch"}).wait);
  EXPECT_EQ(parsed({"switch", "--wait"}).waitSeconds, defaultWaitSeconds);
  EXPECT_EQ(parsed({"release", "--wait=2.5"}).waitSeconds, 2.5);
  for (const auto* bad : {"--wait=", "--wait=x", "--wait=0", "--wait=-1", "--wait=1e9", "--wait=nan", "--waiting"})
    EXPECT_EQ(refusal({"switch", bad}), std::string("Unknown option: ") + bad);
}

TEST(CommandLine, aNegativeNumberIsAnArgument) {
  EXPECT_EQ(parsed({"settings", "autoReleaseHours", "-1"}).arguments,
            (std::vector<std::string>{"autoReleaseHours", "-1"}));
}

TEST(CommandLine, nothingAfterTwoHyphensIsAnOption) {
  EXPECT_EQ(parsed({"add-peer", "--", "--json"}).arguments, std::vector<std::string>{"--json"});
}

TEST(CommandLine, helpAndVersionNeedNothingElse) {
  EXPECT_TRUE(parsed({"--help"}).help);
  EXPECT_TRUE(parsed({"-h"}).help);
  EXPECT_TRUE(parsed({"--version"}).version);
  EXPECT_EQ(parsed({"manage", "--help"}).command->name, "manage");
}

TEST(CommandLine, saysWhatIsWrong) {
  EXPECT_EQ(refusal({}), "Which command?");
  EXPECT_EQ(refusal({"--json"}), "Which command?");
  EXPECT_EQ(refusal({"Status"}), "Unknown command: Status");
  EXPECT_EQ(refusal({"status", "--verbose"}), "Unknown option: --verbose");
  EXPECT_EQ(refusal({"status", "now"}), "Too many arguments: now");
  EXPECT_EQ(refusal({"manage"}), "Missing argument: ADDRESS...");
  EXPECT_EQ(refusal({"cancel", "--json"}), "cancel does not take --json.");
  EXPECT_EQ(refusal({"status", "--wait"}), "status does not take --wait[=SECONDS].");
  EXPECT_EQ(refusal({"release", "--missing"}), "release does not take --missing.");
}

}  // namespace
}  // namespace zolvex::control
