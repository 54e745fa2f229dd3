#include "lab/cli/Options.h"

#include "lab/session/SessionAct.h"
#include "lab/world/World.h"

#include <optional>

namespace zolvex::lab {

using namespace Qt::StringLiterals;

namespace {

constexpr int longestLatencyMilliseconds = 60'000;

constexpr auto usage =
    R"(zolvex-lab makes computers, a radio and Bluetooth devices out of nothing and runs Zolvex on them.

  zolvex-lab demo [OPTION...]      three devices are handed over from Laptop to Studio
  zolvex-lab demo --story day      a day at both computers: the devices follow the user
  zolvex-lab run [OPTION...]       a world that stays, for experiments; Ctrl-C ends it
  zolvex-lab exec --world PID COMPUTER -- PROGRAM [ARGUMENT...]
                                   run a program on a computer of a world that stays
  zolvex-lab ctl [--world PID] COMPUTER ACT
                                   do to a computer of a world that stays what a user does, and wait until it is done;
                                   ACT is lock, unlock, sleep, wake, display-off or display-on
  zolvex-lab --list-faults         what can go wrong
  zolvex-lab --help

Options:
  --keep             demo: leave the world running and say how to look into it
  --story NAME       demo: hand-over (the default) or day
  --automatic        automatic connect and release are on, as in the day
  --latency MS       how long each Bluetooth call takes (default 300, 0 is as fast as can be)
  --fault FAULT      NAME[:DEVICE][@COMPUTER], for example asleep:"Magic Mouse" or adapter-off@Laptop; repeatable
  --transport NAME   the setting "transportMode" on every computer (default bonjour)
  --computers N      2 to 4 (default 2)
  --zolvex PATH      the program to run (default: beside zolvex-lab, or in its build tree)

While a world stays, lines on standard input change it: "fault FAULT", "lift" (all faults), "who" (who has the devices),
"lock Laptop" and the other acts.
)";

/// Takes the arguments one by one.
class Parser {
 public:
  explicit Parser(QStringList arguments) : rest_(std::move(arguments)) {}

  std::variant<Options, Options::UsageError> parse() {
    if (rest_.isEmpty()) fail(u"What is to be done? See zolvex-lab --help"_s);
    if (!error_) takeCommand();
    while (!error_ && !rest_.isEmpty()) takeOption(rest_.takeFirst());
    if (!error_ && options_.command == Options::Command::exec) checkExec();
    if (!error_ && options_.command == Options::Command::ctl) checkCtl();
    if (error_) return Options::UsageError{*error_};
    return options_;
  }

 private:
  void fail(const QString& text) {
    if (!error_) error_ = text;
  }

  void takeCommand() {
    const auto command = rest_.takeFirst();
    if (command == u"demo"_s)
      options_.command = Options::Command::demo;
    else if (command == u"run"_s)
      options_.command = Options::Command::run;
    else if (command == u"exec"_s)
      options_.command = Options::Command::exec;
    else if (command == u"ctl"_s)
      options_.command = Options::Command::ctl;
    else if (command == u"--list-faults"_s)
      options_.command = Options::Command::listFaults;
    else if (command != u"--help"_s && command != u"-h"_s)
      fail(u"There is no command \"%1\""_s.arg(command));
  }

  void takeOption(const QString& option) {
    if (options_.command == Options::Command::exec) return takeExecArgument(option);
    if (options_.command == Options::Command::ctl) return takeCtlArgument(option);
    if (option == u"--keep"_s)
      options_.keep = true;
    else if (option == u"--automatic"_s)
      options_.isAutomatic = true;
    else if (option == u"--story"_s)
      takeStory(value(option));
    else if (option == u"--help"_s)
      options_.command = Options::Command::help;
    else if (option == u"--list-faults"_s)
      options_.command = Options::Command::listFaults;
    else if (option == u"--transport"_s)
      options_.transport = value(option);
    else if (option == u"--zolvex"_s)
      options_.zolvex = value(option);
    else if (option == u"--latency"_s)
      options_.latency = std::chrono::milliseconds(number(option, 0, longestLatencyMilliseconds));
    else if (option == u"--computers"_s)
      options_.computers = number(option, World::fewestComputers, World::mostComputers);
    else if (option == u"--fault"_s)
      takeFault(value(option));
    else
      fail(u"There is no option \"%1\""_s.arg(option));
  }

  void takeExecArgument(const QString& argument) {
    if (argument == u"--world"_s) {
      options_.world = value(argument);
    } else if (argument == u"--"_s) {
      options_.program = std::exchange(rest_, {});
    } else if (options_.computer.isEmpty()) {
      options_.computer = argument;
    } else {
      fail(u"The program comes after \"--\""_s);
    }
  }

  void takeCtlArgument(const QString& argument) {
    if (argument == u"--world"_s)
      options_.world = value(argument);
    else if (argument == u"--help"_s)
      options_.command = Options::Command::help;
    else if (argument.startsWith(u'-'))
      fail(u"There is no option \"%1\""_s.arg(argument));
    else if (options_.computer.isEmpty())
      options_.computer = argument;
    else if (options_.act.isEmpty())
      options_.act = argument;
    else
      fail(u"ctl does one act at a time"_s);
  }

  void checkCtl() {
    const auto acts = sessionActNames().join(u", "_s);
    if (options_.act.isEmpty())
      fail(u"ctl needs a computer and one of %1"_s.arg(acts));
    else if (!sessionActOf(options_.act))
      fail(u"There is no act \"%1\"; there are %2"_s.arg(options_.act, acts));
  }

  void takeStory(const QString& name) {
    if (name == u"day"_s)
      options_.story = Options::Story::day;
    else if (name == u"hand-over"_s)
      options_.story = Options::Story::handOver;
    else
      fail(u"There is no story \"%1\"; there are hand-over and day"_s.arg(name));
  }

  void checkExec() {
    if (options_.world.isEmpty() || options_.computer.isEmpty() || options_.program.isEmpty())
      fail(u"exec needs --world PID, a computer, \"--\" and a program"_s);
  }

  QString value(const QString& option) {
    if (!rest_.isEmpty()) return rest_.takeFirst();
    fail(u"%1 needs a value"_s.arg(option));
    return {};
  }

  int number(const QString& option, int least, int most) {
    bool isNumber = false;
    const auto result = value(option).toInt(&isNumber);
    if (!isNumber || result < least || result > most)
      fail(u"%1 needs a number from %2 to %3"_s.arg(option).arg(least).arg(most));
    return result;
  }

  void takeFault(const QString& text) {
    if (const auto fault = Fault::parse(text))
      options_.faults.push_back(*fault);
    else
      fail(u"There is no fault \"%1\"; see zolvex-lab --list-faults"_s.arg(text));
  }

  QStringList rest_;
  Options options_;
  std::optional<QString> error_;
};

}  // namespace

std::variant<Options, Options::UsageError> Options::parse(const QStringList& arguments) {
  return Parser(arguments).parse();
}

QString usageText() {
  return QString::fromUtf8(usage);
}

QString faultListText() {
  QString text;
  for (const auto& fault : faultDescriptions())
    text += u"%1  %2\n"_s.arg(QLatin1String(fault.name), -18).arg(QLatin1String(fault.text));
  return text;
}

}  // namespace zolvex::lab
