#include "lab/cli/Options.h"

#include <gtest/gtest.h>

namespace zolvex::lab {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

Options parsed(const QStringList& arguments) {
  const auto result = Options::parse(arguments);
  const auto* error = std::get_if<Options::UsageError>(&result);
  EXPECT_FALSE(error) << (error ? error->text.toStdString() : "");
  return error ? Options{} : std::get<Options>(result);
}

std::string errorOf(const QStringList& arguments) {
  const auto result = Options::parse(arguments);
  const auto* error = std::get_if<Options::UsageError>(&result);
  return error ? error->text.toStdString() : "";
}

TEST(LabOptions, demoLooksRealUnlessToldOtherwise) {
  const auto options = parsed({u"demo"_s});
  EXPECT_EQ(options.command, Options::Command::demo);
  EXPECT_EQ(options.latency, 300ms);
  EXPECT_EQ(options.computers, 2);
  EXPECT_EQ(options.transport, u"bonjour"_s);
  EXPECT_FALSE(options.keep);
  EXPECT_TRUE(options.faults.empty());
}

TEST(LabOptions, everyOptionIsTaken) {
  const auto options = parsed({u"demo"_s, u"--keep"_s, u"--latency"_s, u"0"_s, u"--fault"_s, u"asleep:Magic Mouse"_s,
                               u"--fault"_s, u"slow@Studio"_s, u"--transport"_s, u"bluetooth"_s, u"--computers"_s,
                               u"4"_s, u"--zolvex"_s, u"/bin/z"_s});
  EXPECT_TRUE(options.keep);
  EXPECT_EQ(options.latency, 0ms);
  ASSERT_EQ(options.faults.size(), 2u);
  EXPECT_EQ(options.faults[0], (Fault{FaultKind::asleep, u"Magic Mouse"_s}));
  EXPECT_EQ(options.faults[1], (Fault{FaultKind::slow, {}, u"Studio"_s}));
  EXPECT_EQ(options.transport, u"bluetooth"_s);
  EXPECT_EQ(options.computers, 4);
  EXPECT_EQ(options.zolvex, u"/bin/z"_s);
}

TEST(LabOptions, execTakesTheProgramAsItIs) {
  const auto options =
      parsed({u"exec"_s, u"--world"_s, u"12"_s, u"Laptop"_s, u"--"_s, u"zolvexctl"_s, u"--keep"_s, u"--"_s});
  EXPECT_EQ(options.command, Options::Command::exec);
  EXPECT_EQ(options.world, u"12"_s);
  EXPECT_EQ(options.computer, u"Laptop"_s);
  EXPECT_EQ(options.program, (QStringList{u"zolvexctl"_s, u"--keep"_s, u"--"_s}));
}

TEST(LabOptions, ctlTakesAComputerAndAnAct) {
  const auto options = parsed({u"ctl"_s, u"--world"_s, u"12"_s, u"Laptop"_s, u"display-off"_s});
  EXPECT_EQ(options.command, Options::Command::ctl);
  EXPECT_EQ(options.world, u"12"_s);
  EXPECT_EQ(options.computer, u"Laptop"_s);
  EXPECT_EQ(options.act, u"display-off"_s);
  EXPECT_EQ(parsed({u"ctl"_s, u"Laptop"_s, u"lock"_s}).world, QString());
}

TEST(LabOptions, storyOfTheDayIsPlayedWhenAskedFor) {
  EXPECT_EQ(parsed({u"demo"_s}).story, Options::Story::handOver);
  EXPECT_EQ(parsed({u"demo"_s, u"--story"_s, u"day"_s}).story, Options::Story::day);
  EXPECT_FALSE(parsed({u"run"_s}).isAutomatic);
  EXPECT_TRUE(parsed({u"run"_s, u"--automatic"_s}).isAutomatic);
}

TEST(LabOptions, helpAndFaultListNeedNothingElse) {
  EXPECT_EQ(parsed({u"--help"_s}).command, Options::Command::help);
  EXPECT_EQ(parsed({u"--list-faults"_s}).command, Options::Command::listFaults);
  EXPECT_EQ(parsed({u"demo"_s, u"--help"_s}).command, Options::Command::help);
  EXPECT_EQ(parsed({u"ctl"_s, u"--help"_s}).command, Options::Command::help);
}

TEST(LabOptions, mistakesAreNamed) {
  EXPECT_EQ(errorOf({}), "What is to be done? See zolvex-lab --help");
  EXPECT_EQ(errorOf({u"dance"_s}), "There is no command \"dance\"");
  EXPECT_EQ(errorOf({u"demo"_s, u"--fast"_s}), "There is no option \"--fast\"");
  EXPECT_EQ(errorOf({u"demo"_s, u"--fault"_s}), "--fault needs a value");
  EXPECT_EQ(errorOf({u"demo"_s, u"--fault"_s, u"gone"_s}), "There is no fault \"gone\"; see zolvex-lab --list-faults");
  EXPECT_EQ(errorOf({u"demo"_s, u"--latency"_s, u"-1"_s}), "--latency needs a number from 0 to 60000");
  EXPECT_EQ(errorOf({u"demo"_s, u"--computers"_s, u"5"_s}), "--computers needs a number from 2 to 4");
  EXPECT_EQ(errorOf({u"exec"_s, u"Laptop"_s}), "exec needs --world PID, a computer, \"--\" and a program");
}

TEST(LabOptions, mistakesInActsAndStoriesAreNamed) {
  EXPECT_EQ(errorOf({u"ctl"_s, u"Laptop"_s}),
            "ctl needs a computer and one of lock, unlock, sleep, wake, display-off, display-on");
  EXPECT_EQ(errorOf({u"ctl"_s, u"Laptop"_s, u"dance"_s}),
            "There is no act \"dance\"; there are lock, unlock, sleep, wake, display-off, display-on");
  EXPECT_EQ(errorOf({u"ctl"_s, u"Laptop"_s, u"lock"_s, u"sleep"_s}), "ctl does one act at a time");
  EXPECT_EQ(errorOf({u"ctl"_s, u"--all"_s, u"lock"_s}), "There is no option \"--all\"");
  EXPECT_EQ(errorOf({u"demo"_s, u"--story"_s, u"night"_s}), "There is no story \"night\"; there are hand-over and day");
}

TEST(LabOptions, faultListHasALineForEachFault) {
  const auto lines = faultListText().split(u'\n', Qt::SkipEmptyParts);
  EXPECT_EQ(static_cast<std::size_t>(lines.size()), faultDescriptions().size());
  EXPECT_TRUE(lines.first().startsWith(u"asleep "_s));
}

}  // namespace
}  // namespace zolvex::lab
