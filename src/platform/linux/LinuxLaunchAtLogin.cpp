#include "platform/linux/LinuxLaunchAtLogin.h"

#include "core/Log.h"
#include "platform/linux/BusLink.h"
#include "platform/linux/ConfigDirectory.h"

#include <QDBusMessage>

#include <cstdlib>
#include <sys/stat.h>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

constexpr Logger logger("LaunchAtLogin");

std::string variable(const char* name) {
  const char* value = std::getenv(name);
  return value && *value == '/' ? value : "";
}

}  // namespace

LinuxLaunchAtLogin::Places LinuxLaunchAtLogin::Places::standard() {
  return {userConfigHome(),
          variable("XDG_RUNTIME_DIR"),
          {"/etc/systemd/user", "/run/systemd/user", "/usr/local/lib/systemd/user", "/usr/lib/systemd/user"}};
}

LinuxLaunchAtLogin::LinuxLaunchAtLogin(const Places& places, const std::optional<std::string>& program,
                                       BusLink& sessionBus)
    : runtimeDirectory_(places.runtimeDirectory),
      isProgramKnown_(program.has_value()),
      isProgramForUnit_(program && UserUnit::canStart(*program)),
      unit_(places.configHome, places.sharedUnitDirectories, program.value_or("")),
      entry_(places.configHome, program.value_or("")),
      sessionBus_(sessionBus),
      arrival_(sessionBus.arrived.observe([this] { askForReload(); })) {}

LinuxLaunchAtLogin::~LinuxLaunchAtLogin() {
  if (!isSwitchedOff_) return;
  if (const auto failure = unit_.removeUnused()) logger.error("the unit that is not used any more stays: {}", *failure);
}

LaunchAtLogin::Status LinuxLaunchAtLogin::status() const {
  const auto entry = entry_.state();
  if (entry == AutostartEntry::State::off) return {false, "it is switched off in " + entry_.path()};
  const auto unit = hasUserManager() ? unit_.state() : UserUnit::State::off;
  if (unit == UserUnit::State::on) return {true};
  if (unit == UserUnit::State::masked) return {false, std::string(UserUnit::name) + " is masked"};
  if (entry == AutostartEntry::State::on && !entry_.startsUnit()) return {true};
  if (unit == UserUnit::State::startsNothing)
    return {false, std::string(UserUnit::name) + " starts a program that is not there: " + unit_.startedProgram()};
  if (entry == AutostartEntry::State::startsNothing)
    return {false, entry_.path() + " starts a program that is not there"};
  return {};
}

LaunchAtLogin::Failure LinuxLaunchAtLogin::enable() {
  isSwitchedOff_ = false;
  if (!isProgramKnown_) return "it is not known where this program is";
  if (hasUserManager() && isProgramForUnit_) return enableUnit();
  return hasForeignEntry() ? std::nullopt : entry_.writeForProgram();
}

LaunchAtLogin::Failure LinuxLaunchAtLogin::enableUnit() {
  // The unit comes last: with it launch at login counts as enabled, and all of that must be there.
  if (unit_.state() != UserUnit::State::masked)
    if (auto failure = provideEntryForUnit()) return failure;
  if (auto failure = unit_.enable()) return failure;
  wantReload();
  return std::nullopt;
}

LaunchAtLogin::Failure LinuxLaunchAtLogin::provideEntryForUnit() const {
  const bool isNeeded = entry_.state() != AutostartEntry::State::missing || !isSessionTargetReached();
  return isNeeded && !hasForeignEntry() ? entry_.writeForUnit() : std::nullopt;
}

/// The user's own entry that starts something; it stays.
bool LinuxLaunchAtLogin::hasForeignEntry() const {
  return entry_.state() == AutostartEntry::State::on && !entry_.isOurs();
}

LaunchAtLogin::Failure LinuxLaunchAtLogin::disable() {
  isSwitchedOff_ = true;
  auto failure = unit_.disable();
  if (auto entryFailure = entry_.remove()) failure = std::move(entryFailure);
  if (hasUserManager()) wantReload();
  return failure;
}

void LinuxLaunchAtLogin::followProgram() {
  if (!isProgramKnown_) return;
  const bool isUnitStale = unit_.state() == UserUnit::State::startsNothing;
  auto failure = isProgramForUnit_ ? unit_.followProgram() : std::nullopt;
  if (isUnitStale && hasUserManager()) wantReload();
  if (auto entryFailure = entry_.followProgram()) failure = std::move(entryFailure);
  if (failure) logger.error("launch at login does not follow the program to its new place: {}", *failure);
  if (const auto problem = status().problem; !problem.empty()) logger.info("launch at login is off: {}", problem);
}

/// Its socket is there for as long as it runs.
bool LinuxLaunchAtLogin::hasUserManager() const {
  struct stat status {};
  return !runtimeDirectory_.empty() && stat((runtimeDirectory_ + "/systemd/private").c_str(), &status) == 0 &&
         S_ISSOCK(status.st_mode);
}

/// systemd notes each active unit in a link that leads nowhere.
bool LinuxLaunchAtLogin::isSessionTargetReached() const {
  struct stat status {};
  const auto note = runtimeDirectory_ + "/systemd/units/invocation:" + UserUnit::target;
  return lstat(note.c_str(), &status) == 0;
}

void LinuxLaunchAtLogin::wantReload() {
  isReloadWanted_ = true;
  askForReload();
}

/// A systemd that does not answer reads the files at the next login.
void LinuxLaunchAtLogin::askForReload() {
  if (!sessionBus_.isConnected() || !std::exchange(isReloadWanted_, false)) return;
  auto call = QDBusMessage::createMethodCall(u"org.freedesktop.systemd1"_s, u"/org/freedesktop/systemd1"_s,
                                             u"org.freedesktop.systemd1.Manager"_s, u"Reload"_s);
  call.setAutoStartService(false);
  sessionBus_.connection().send(call);
}

}  // namespace zolvex
