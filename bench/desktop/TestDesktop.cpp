#include "desktop/TestDesktop.h"

#include <QCoreApplication>
#include <QDir>
#include <QStandardPaths>

#include <csignal>
#include <sys/prctl.h>
#include <thread>

namespace zolvex::bench {

using namespace Qt::StringLiterals;

namespace {

constexpr std::chrono::seconds limit{20};
constexpr std::chrono::microseconds lookInterval{500};
constexpr int stopMilliseconds = 3'000;
constexpr std::chrono::milliseconds startTime{1'500};  // for the window manager and the panel to settle
const auto python = u"/usr/bin/python3"_s;             // the one that has Debian's modules

void stop(QProcess& process) {
  process.terminate();
  if (process.state() != QProcess::NotRunning && !process.waitForFinished(stopMilliseconds)) process.kill();
  process.waitForFinished(stopMilliseconds);
}

/// However this program ends.
void endWithUs(QProcess& process) {
  process.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
}

}  // namespace

std::string TestDesktop::reasonAgainst() {
  for (const auto* program : {"Xvfb", "openbox", "trayer", "nm-applet", "blueman-applet"})
    if (QStandardPaths::findExecutable(QString::fromLatin1(program)).isEmpty())
      return std::string(program) +
             " is not installed (Debian packages xvfb, openbox, trayer, network-manager-gnome, blueman)";
  return {};
}

TestDesktop::TestDesktop() = default;

TestDesktop::~TestDesktop() {
  for (auto* const process : {networkManager_.get(), panelProgram_.get(), windowManager_.get()})
    if (process) stop(*process);
  screen_.reset();
  stop(server_);
}

bool TestDesktop::start() {
  if (!computer_.start() || !session_.start() || !startServer()) return false;
  QDir(home_.path()).mkpath(u"runtime"_s);
  windowManager_ = run(u"openbox"_s, {});
  panelProgram_ = run(u"trayer"_s, {u"--edge"_s, u"top"_s, u"--align"_s, u"right"_s, u"--width"_s, u"20"_s,
                                    u"--height"_s, QString::number(panel.height())});
  networkManager_ = run(python, {u"-m"_s, u"dbusmock"_s, u"--system"_s, u"--template"_s, u"networkmanager"_s});
  wait(startTime);
  return timeUntil([this] { return coloursIn(screen_->picture(panel)) == 1; }).has_value();
}

bool TestDesktop::startServer() {
  endWithUs(server_);
  server_.setStandardErrorFile(QProcess::nullDevice());
  server_.start(u"Xvfb"_s, {u"-displayfd"_s, u"1"_s, u"-screen"_s, u"0"_s, u"1280x800x24"_s, u"-nolisten"_s, u"tcp"_s,
                            u"-noreset"_s});
  if (!timeUntil([this] { return server_.canReadLine(); })) return false;
  display_ = u':' + QString::fromLatin1(server_.readLine()).trimmed();
  screen_ = std::make_unique<Screen>(display_.toStdString());
  return screen_->isConnected();
}

QProcessEnvironment TestDesktop::environment() const {
  auto environment = computer_.environment();
  for (const auto* name : {"WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "XDG_CURRENT_DESKTOP", "XDG_SESSION_TYPE"})
    environment.remove(QString::fromLatin1(name));
  environment.insert(u"DISPLAY"_s, display_);
  environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, session_.address());
  environment.insert(u"HOME"_s, home_.path());
  environment.insert(u"XDG_CONFIG_HOME"_s, home_.path());
  environment.insert(u"XDG_RUNTIME_DIR"_s, home_.filePath(u"runtime"_s));
  environment.insert(u"GSETTINGS_BACKEND"_s, u"memory"_s);  // nothing of the user who measures
  environment.insert(u"NO_AT_BRIDGE"_s, u"1"_s);            // no screen reader for GTK, as there is none for us
  return environment;
}

std::unique_ptr<QProcess> TestDesktop::run(const QString& program, const QStringList& arguments) const {
  auto process = std::make_unique<QProcess>();
  endWithUs(*process);
  process->setProcessEnvironment(environment());
  process->setStandardOutputFile(QProcess::nullDevice());
  process->setStandardErrorFile(QProcess::nullDevice());
  process->start(program, arguments);
  return process;
}

std::optional<TestDesktop::Milliseconds> TestDesktop::timeUntil(const std::function<bool()>& condition) {
  const auto begin = std::chrono::steady_clock::now();
  while (!condition()) {
    if (std::chrono::steady_clock::now() - begin > limit) return std::nullopt;
    QCoreApplication::processEvents();
    std::this_thread::sleep_for(lookInterval);
  }
  return std::chrono::steady_clock::now() - begin;
}

void TestDesktop::wait(std::chrono::milliseconds time) {
  const auto end = std::chrono::steady_clock::now() + time;
  while (std::chrono::steady_clock::now() < end) {
    QCoreApplication::processEvents();
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

}  // namespace zolvex::bench
