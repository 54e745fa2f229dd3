#include "ui/desktop/TwoDesktops.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <sys/mount.h>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace zolvex::test {

namespace {

/// Each search walks the whole tree, and the programs need the processor, too.
constexpr auto lookInterval = 50ms;

/// Two computers at once take their time on a busy machine, of a worker's run that fails up to 12 s.
constexpr auto thorough = 60s;

/// Where X servers keep their sockets: those of the lab among themselves, away from those of this computer.
constexpr auto socketDirectory = "/tmp/.X11-unix";

bool mountOwnDisplays() {
  static const bool isMounted = QDir().mkpath(QString::fromLatin1(socketDirectory)) &&
                                mount("tmpfs", socketDirectory, "tmpfs", MS_NOSUID | MS_NODEV, "mode=1777") == 0;
  return isMounted;
}

/// Lets time pass, and everything that is served here go on.
void pause() {
  (void)runUntil([] { return false; }, lookInterval);
}

template <class Condition>
bool looksUntil(Condition condition) {
  const QDeadlineTimer deadline(thorough);
  while (!condition()) {
    if (deadline.hasExpired()) return false;
    pause();
  }
  return true;
}

}  // namespace

bool Seat::start() {
  const ProgramRun::Variables variables{{u"HOME"_s, home_.path()},
                                        {u"XDG_RUNTIME_DIR"_s, home_.path()},
                                        {u"XDG_CONFIG_HOME"_s, home_.path()},
                                        {u"XDG_CACHE_HOME"_s, home_.path()}};
  // The numbers of the processes in here mean nothing to the locks of other servers.
  if (!screen.start(variables, {u"-nolock"_s})) return false;
  auto ofDesktop = variables;
  for (const auto& [name, value] : screen.displayVariables()) {
    computer.addToEnvironment(name, value);
    ofDesktop.emplace_back(name, value);
  }
  return reader.start(computer.environment().value(u"DBUS_SESSION_BUS_ADDRESS"_s), ofDesktop);
}

testing::AssertionResult Seat::click(const QString& name) {
  std::optional<QRect> place;
  std::optional<QRect> before;
  const auto standsStill = [&] {
    before = std::exchange(place, reader.control(name));
    return place && place == before;
  };
  if (!looksUntil(standsStill))
    return testing::AssertionFailure() << computer.name().toStdString() << " shows no control \"" << name.toStdString()
                                       << "\", but\n"
                                       << reader.described().toStdString();
  screen.click(place->center());
  return testing::AssertionSuccess();
}

testing::AssertionResult Seat::sees(const QString& text) {
  if (looksUntil([&] { return reader.tells(text); })) return testing::AssertionSuccess();
  return testing::AssertionFailure() << computer.name().toStdString() << " does not show \"" << text.toStdString()
                                     << "\", but\n"
                                     << reader.described().toStdString();
}

testing::AssertionResult Seat::opensPopover() {
  const bool isShown = looksUntil([this] {
    screen.click(XDesktop::icon);
    return screen.isShownNow();
  });
  return isShown ? testing::AssertionSuccess() : testing::AssertionFailure() << "no popover comes";
}

testing::AssertionResult Seat::closesPopover() {
  screen.click(XDesktop::nowhere);
  return screen.isHidden() ? testing::AssertionSuccess() : testing::AssertionFailure() << "the popover stays";
}

QStringList Seat::filesInHome() const {
  QStringList files;
  for (const auto* folder : {"/home", "/config"}) {
    QDirIterator each(computer.directory() + QLatin1String(folder),
                      QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (each.hasNext()) files.append(each.next());
  }
  return files;
}

QVariant Seat::setting(const QString& key) const {
  QFile file(computer.directory() + u"/config/zolvex/settings.json"_s);
  if (!file.open(QIODevice::ReadOnly)) return {};
  return QJsonDocument::fromJson(file.readAll()).object().value(key).toVariant();
}

lab::WorldOptions TwoDesktops::options() {
  lab::WorldOptions options;
  options.zolvex = QStringLiteral(ZOLVEX);
  options.timing.latency = 60ms;
  return options;
}

TwoDesktops::TwoDesktops() : world(options()), studio(world.desktop(u"Studio"_s)), laptop(world.desktop(u"Laptop"_s)) {}

void TwoDesktops::SetUp() {
  for (const auto& reason : {XDesktop::reasonAgainst(), ScreenReader::reasonAgainst()})
    if (!reason.empty()) GTEST_SKIP() << reason;
  ASSERT_TRUE(mountOwnDisplays());
  ASSERT_TRUE(world.start()) << world.errorString().toStdString();
  for (auto* seat : {&studio, &laptop}) {
    QObject::connect(&seat->computer, &lab::Desktop::logged, &world,
                     [this, seat](const QString& from, const QString& line) {
                       if (from == u"zolvex"_s) log_.append(seat->computer.name() + u": "_s + line);
                     });
    ASSERT_TRUE(seat->start());
  }
}

void TwoDesktops::TearDown() {
  world.stop();
  for (const auto& line : log_) EXPECT_FALSE(line.contains(u"qrc:"_s)) << line.toStdString();  // a warning of QML
  if (!HasFailure()) return;
  for (const auto& line : log_) std::printf("%s\n", qPrintable(line));
}

void TwoDesktops::forgetSettings() {
  for (auto* seat : {&studio, &laptop}) {
    QDir(seat->computer.directory() + u"/config/zolvex"_s).removeRecursively();
    ASSERT_TRUE(seat->filesInHome().isEmpty()) << seat->filesInHome().join(u' ').toStdString();
  }
}

bool TwoDesktops::hasAllDevices(const Seat& seat) const {
  return world.missingAt(seat.computer.name()).isEmpty();
}

testing::AssertionResult TwoDesktops::getsAllDevices(Seat& seat) {
  if (runUntil([&] { return hasAllDevices(seat); }, thorough)) return testing::AssertionSuccess();
  return testing::AssertionFailure() << world.missingAt(seat.computer.name()).join(u", "_s).toStdString();
}

bool TwoDesktops::comesToRest() {
  return runUntil([&] { return world.hasComeToRest(); }, thorough);
}

}  // namespace zolvex::test
