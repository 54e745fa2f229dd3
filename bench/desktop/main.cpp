#include "desktop/TestDesktop.h"
#include "idle/IdleProcess.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

// The icon and the popover as a user has them, beside two programs that live in the same panels: how long until the
// icon is to be seen, memory, how long from a click to the popover's first picture, and wake-ups with the popover
// closed. "bench-desktop [SECONDS]" counts the wake-ups for that long, 60 s by default.

using namespace zolvex;
using namespace zolvex::bench;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

using Milliseconds = TestDesktop::Milliseconds;

constexpr int starts = 5;
constexpr int laterOpenings = 21;
constexpr auto settleTime = 3s;  // after a start, and after everything that was done
constexpr auto pause = 400ms;    // between a closing and the next opening
constexpr std::size_t coloursOfText = 12;
constexpr QRect underTheIcon{960, 50, 300, 60};  // where the popover's title is
constexpr std::uint8_t rightButton = 3;
constexpr double defaultWatchSeconds = 60;
constexpr double millisecondsPerSecond = 1'000;

// What is wanted.
constexpr double bluemanShare = 0.75;
constexpr double firstOpeningLimit = 60, laterOpeningLimit = 20;  // in milliseconds
constexpr double wakeUpLimit = 1;                                 // a second

const auto zolvexProgram = u"" ZOLVEX ""_s;
const auto nmApplet = u"nm-applet"_s;
const auto bluemanApplet = u"blueman-applet"_s;
const auto bluemanTray = QByteArray("blueman-tray");
const QByteArray settings =
    R"({"managedDeviceAddresses": ["02-5A-00-00-00-01", "02-5A-00-00-00-02", "02-5A-00-00-00-03"],
        "autoConnect": false, "transportMode": "bonjour", "didOpenAtFirstStart": true})";

double median(std::vector<double> values) {
  if (values.empty()) return 0;
  std::ranges::sort(values);
  return values[values.size() / 2];
}

/// What a process costs of which only the name is known; nothing when there is none on this desktop.
IdleProcess::Cost costOf(const QByteArray& program, const QByteArray& display) {
  for (const auto& entry : QDir(u"/proc"_s).entryList({u"[1-9]*"_s}, QDir::Dirs)) {
    QFile words(u"/proc/%1/cmdline"_s.arg(entry)), variables(u"/proc/%1/environ"_s.arg(entry));
    if (!words.open(QFile::ReadOnly) || !words.readAll().contains(program)) continue;
    if (!variables.open(QFile::ReadOnly) || !variables.readAll().contains("DISPLAY=" + display + '\0')) continue;
    return IdleProcess::costOf(entry.toLongLong());
  }
  return {};
}

/// Does it, and waits until the panel has changed: the icon is there, or gone.
std::optional<Milliseconds> timeUntilPanelChanges(const TestDesktop& desktop, const std::function<void()>& action) {
  const auto before = desktop.screen().picture(TestDesktop::panel);
  action();
  return TestDesktop::timeUntil([&] { return desktop.screen().picture(TestDesktop::panel) != before; });
}

/// From the start of the program to its icon, alone in the panel; the median of some.
double startOf(const TestDesktop& desktop, const QString& program, const QByteArray& itsSettings = {}) {
  std::vector<double> times;
  for (int i = 0; i < starts; ++i) {
    std::unique_ptr<IdleProcess> process;
    const auto time = timeUntilPanelChanges(
        desktop, [&] { process = std::make_unique<IdleProcess>(program, desktop.environment(), itsSettings); });
    if (time) times.push_back(time->count());
    TestDesktop::wait(settleTime);
    if (time && !timeUntilPanelChanges(desktop, [&] { process.reset(); })) return 0;
    TestDesktop::wait(pause);
  }
  return times.size() == starts ? median(times) : 0;
}

/// From a click on the icon to the first picture of the popover, which is then open.
double opening(const TestDesktop& desktop) {
  desktop.screen().click(TestDesktop::lastIcon);
  const auto isShown = [&] { return coloursIn(desktop.screen().picture(underTheIcon)) > coloursOfText; };
  return TestDesktop::timeUntil(isShown).value_or(Milliseconds(0)).count();
}

bool close(const TestDesktop& desktop) {
  desktop.screen().click(TestDesktop::lastIcon, rightButton);
  const auto isGone = [&] { return coloursIn(desktop.screen().picture(underTheIcon)) == 1; };
  if (!TestDesktop::timeUntil(isGone)) return false;
  TestDesktop::wait(pause);
  return true;
}

struct FirstOpening {
  double time = 0;           ///< In milliseconds, as all times here.
  double processorTime = 0;  ///< What it would be on a machine with nothing else to do, and a little more.
};

FirstOpening firstOpening(const TestDesktop& desktop) {
  std::vector<double> times, processorTimes;
  for (int i = 0; i < starts; ++i) {
    auto process = std::make_unique<IdleProcess>(zolvexProgram, desktop.environment(), settings);
    TestDesktop::wait(settleTime);
    const auto before = process->cost().cpuSeconds;
    times.push_back(opening(desktop));
    TestDesktop::wait(pause);
    processorTimes.push_back((process->cost().cpuSeconds - before) * millisecondsPerSecond);
    if (!timeUntilPanelChanges(desktop, [&] { process.reset(); })) return {};
    TestDesktop::wait(pause);
  }
  return {median(times), median(processorTimes)};
}

double laterOpening(const TestDesktop& desktop) {
  std::vector<double> times;
  for (int i = 0; i < laterOpenings; ++i) {
    times.push_back(opening(desktop));
    if (!close(desktop)) return 0;
  }
  return median(times);
}

/// One line: ours, the peer's or nothing, and the limit that ours has to keep.
void print(const char* what, double ours, double peers, double limit, const char* unit) {
  const auto ratio = peers > 0 ? fmt::format("{:.2f}", ours / peers) : "";
  const auto peer = peers > 0 ? fmt::format("{:.1f}", peers) : "";
  const bool isKept = ours > 0 && ours <= limit;
  fmt::print("{:<52} {:>8.1f} {:>8} {:>7} {:>9.1f} {:<4} {}\n", what, ours, peer, ratio, limit, unit,
             isKept ? "kept" : "MISSED");
}

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication application(argc, argv);
  const double seconds = argc > 1 ? std::atof(argv[1]) : defaultWatchSeconds;
  if (const auto reason = TestDesktop::reasonAgainst(); !reason.empty()) {
    fmt::print("skipped: {}\n", reason);
    return EXIT_SUCCESS;
  }
  TestDesktop desktop;
  if (!desktop.start()) {
    fmt::print(stderr, "the desktop did not start\n");
    return EXIT_FAILURE;
  }

  const auto ourStart = startOf(desktop, zolvexProgram, settings);
  const auto nmStart = startOf(desktop, nmApplet);
  const auto bluemanStart = startOf(desktop, bluemanApplet);
  const auto first = firstOpening(desktop);

  // Each peer alone beside ours: with each other they would share a toolkit, and ours shares its own with nobody.
  IdleProcess ours(zolvexProgram, desktop.environment(), settings);
  TestDesktop::wait(settleTime);
  auto nm = std::make_unique<IdleProcess>(nmApplet, desktop.environment());
  TestDesktop::wait(2 * settleTime);
  const auto before = ours.cost();
  const auto nmCost = nm->cost();
  nm.reset();
  const IdleProcess blueman(bluemanApplet, desktop.environment());
  TestDesktop::wait(2 * settleTime);
  opening(desktop);
  TestDesktop::wait(settleTime);
  const auto after = ours.cost();
  const auto bluemanCost = blueman.cost();
  const auto trayCost = costOf(bluemanTray, desktop.environment().value(u"DISPLAY"_s).toLatin1());
  close(desktop);
  const auto later = laterOpening(desktop);

  TestDesktop::wait(settleTime);
  const auto atFirst = ours.cost().wakeUps;
  TestDesktop::wait(std::chrono::milliseconds(static_cast<long>(seconds * millisecondsPerSecond)));
  const auto wakeUps = static_cast<double>(ours.cost().wakeUps - atFirst) / seconds;

  fmt::print("{:<52} {:>8} {:>8} {:>7} {:>9}\n", "", "zolvex", "peer", "ratio", "limit");
  print("start to icon, beside nm-applet", ourStart, nmStart, nmStart, "ms");
  print("start to icon, beside blueman-applet", ourStart, bluemanStart, bluemanStart, "ms");
  const auto both = bluemanCost.sharedOutMebibytes + trayCost.sharedOutMebibytes;
  print("PSS before the first opening, beside nm-applet", before.sharedOutMebibytes, nmCost.sharedOutMebibytes,
        nmCost.sharedOutMebibytes, "MiB");
  print("PSS with the popover, beside blueman-applet and -tray", after.sharedOutMebibytes, both, bluemanShare * both,
        "MiB");
  print("first opening, click to picture", first.time, 0, firstOpeningLimit, "ms");
  print("first opening, processor time", first.processorTime, 0, firstOpeningLimit, "ms");
  print("later openings, click to picture", later, 0, laterOpeningLimit, "ms");
  print("wake-ups with the popover closed", wakeUps, 0, wakeUpLimit, "/s");
  fmt::print(
      "Memory that is theirs alone: zolvex {:.1f} and {:.1f} MiB, nm-applet {:.1f}, blueman-applet {:.1f}, its "
      "blueman-tray {:.1f}\n",
      before.privateMebibytes, after.privateMebibytes, nmCost.privateMebibytes, bluemanCost.privateMebibytes,
      trayCost.privateMebibytes);
  return EXIT_SUCCESS;
}
