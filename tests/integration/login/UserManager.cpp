#include "UserManager.h"

#include <QFile>

#include <fstream>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace zolvex::test {

namespace {

constexpr auto program = "/lib/systemd/systemd"_L1;
constexpr auto desktopTarget = "a-desktop.target"_L1;

// The target of the session may not be started itself.
constexpr auto desktopUnit =
    "[Unit]\nDescription=A desktop\nBindsTo=graphical-session.target\nBefore=graphical-session.target\n";

}  // namespace

std::string UserManager::missing() {
  if (!QFile::exists(program)) return "systemd";
  return QFile::exists(u"/usr/lib/systemd/user/dbus.socket"_s) ? "" : "dbus-user-session";
}

UserManager::UserManager(std::filesystem::path home) : home_(std::move(home)) {
  namespace files = std::filesystem;
  const auto units = files::path(configHome()) / "systemd/user";
  files::create_directories(units);
  std::ofstream(units / desktopTarget.latin1()) << desktopUnit;
  files::create_directories("/run/systemd/system");  // without which it believes that another init runs the system
  files::remove_all(runtimeDirectory());
  files::create_directory(runtimeDirectory());
  files::permissions(runtimeDirectory(), files::perms::owner_all);
}

UserManager::~UserManager() {
  if (!run_) return;
  systemctl({u"exit"_s});
  [[maybe_unused]] const bool hasEnded = run_->hasEnded();
}

bool UserManager::start() {
  // Not the default target: it would start whatever is installed here for every user.
  run_.emplace(program, QStringList{u"--user"_s, u"--unit=basic.target"_s}, variables());
  return runUntil([this] {
           const auto state = systemctl({u"is-system-running"_s});
           return run_->isEnded() || state == "running" || state == "degraded";
         }) &&
         !run_->isEnded();
}

bool UserManager::beginDesktop() {
  systemctl({u"start"_s, desktopTarget});
  return systemctl({u"is-active"_s, u"graphical-session.target"_s}) == "active";
}

bool UserManager::endDesktop() {
  systemctl({u"stop"_s, desktopTarget});
  return runUntil([this] { return systemctl({u"is-active"_s, u"graphical-session.target"_s}) == "inactive"; });
}

std::string UserManager::systemctl(const QStringList& arguments) const {
  ProgramRun run(u"systemctl"_s, QStringList{u"--user"_s} + arguments, variables());
  run.exitStatus();
  auto text = run.output();
  while (text.ends_with('\n')) text.pop_back();
  return text;
}

std::string UserManager::property(const QString& name) const {
  return systemctl({u"show"_s, u"--value"_s, u"--property"_s, name, u"zolvex.service"_s});
}

bool UserManager::reaches(const QString& name, const std::string& value) const {
  return runUntil([&] { return property(name) == value; });
}

ProgramRun::Variables UserManager::variables() const {
  return {{u"HOME"_s, QString::fromStdString(home_)},
          {u"XDG_CONFIG_HOME"_s, QString::fromStdString(configHome())},
          {u"XDG_RUNTIME_DIR"_s, QString::fromStdString(runtimeDirectory())},
          {u"DBUS_SESSION_BUS_ADDRESS"_s, QString::fromStdString(busAddress())},
          {u"DBUS_SYSTEM_BUS_ADDRESS"_s, u"unix:path=/nonexistent"_s},
          // The display of whoever runs the tests is not its own.
          {u"DISPLAY"_s, u""_s},
          {u"WAYLAND_DISPLAY"_s, u""_s}};
}

}  // namespace zolvex::test
