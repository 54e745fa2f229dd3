#include "lab/session/Logind.h"

#include "lab/session/LogindManager.h"
#include "lab/session/LogindSession.h"
#include "lab/session/LogindTypes.h"
#include "lab/session/LogindUser.h"

#include <unistd.h>

namespace zolvex::lab {

using namespace Qt::StringLiterals;

namespace {

const auto sleepWord = u"sleep"_s;
const auto delayMode = u"delay"_s;

}  // namespace

Logind::Logind(Screen& screen, LogindOptions options)
    : screen_(screen), options_(options), isLockedHint_(screen.isLocked()) {
  registerLogindTypes();
  delayLimit_.setSingleShot(true);
  delayLimit_.setTimerType(Qt::PreciseTimer);
  connect(&delayLimit_, &QTimer::timeout, this, &Logind::fallAsleep);
  connect(&inhibitors_, &Inhibitors::changed, this, &Logind::onInhibitorsChanged);
  connect(&screen_, &Screen::lockedChanged, this, &Logind::setLockedHint);
}

Logind::~Logind() = default;

QString Logind::sessionId() {
  return u"2"_s;
}

// In a path the first digit of a name is written as its code.
QString Logind::sessionPath() {
  return u"/org/freedesktop/login1/session/_32"_s;
}

QString Logind::userPath() {
  const auto number = QString::number(getuid());
  return u"/org/freedesktop/login1/user/_%1%2"_s.arg(uint{number.front().unicode()}, 2, 16, QLatin1Char('0'))
      .arg(number.mid(1));
}

bool Logind::start(const QString& busAddress) {
  connection_ = std::make_unique<ServiceConnection>(busAddress);
  if (!connection_->attach()) return false;
  exportObjects();
  return connection_->own(u"org.freedesktop.login1"_s);
}

void Logind::stop() {
  delayLimit_.stop();
  connection_.reset();
}

void Logind::exportObjects() {
  auto& tree = connection_->tree();
  const auto session = std::make_shared<LogindSession>(*this);
  const auto user = std::make_shared<LogindUser>();
  tree.add(LogindManager::path(), {std::make_shared<LogindManager>(*this)});
  tree.add(sessionPath(), {session});
  tree.add(u"/org/freedesktop/login1/session/auto"_s, {session});
  if (options_.callersAreInSession) tree.add(u"/org/freedesktop/login1/session/self"_s, {session});
  tree.add(userPath(), {user});
  tree.add(u"/org/freedesktop/login1/user/self"_s, {user});
}

void Logind::setLockedHint(bool locked) {
  isLockedHint_ = locked;
  if (connection_) connection_->tree().publishChanges(sessionPath());
}

std::optional<Logind::Refusal> Logind::sleep() {
  if (state_ != SleepState::awake)
    return Refusal{u"org.freedesktop.login1.OperationInProgress"_s,
                   u"There's already a shutdown or sleep operation in progress"_s};
  if (inhibitors_.isInhibited(sleepWord, u"block"_s))
    return Refusal{u"org.freedesktop.DBus.Error.AccessDenied"_s, u"Access denied due to active block inhibitor"_s};
  state_ = SleepState::preparing;
  announceSleep(true);
  Q_EMIT preparesForSleep(sleepDelayers());
  if (inhibitors_.isInhibited(sleepWord, delayMode))
    delayLimit_.start(options_.inhibitDelayMax);
  else
    fallAsleep();
  return std::nullopt;
}

void Logind::onInhibitorsChanged() {
  if (connection_) connection_->tree().publishChanges(LogindManager::path());
  if (state_ == SleepState::preparing && !inhibitors_.isInhibited(sleepWord, delayMode)) fallAsleep();
}

void Logind::fallAsleep() {
  delayLimit_.stop();
  state_ = SleepState::asleep;
  Q_EMIT fellAsleep(sleepDelayers());
}

void Logind::wake() {
  if (state_ != SleepState::asleep) return;
  Q_EMIT wakesUp();
  state_ = SleepState::awake;
  announceSleep(false);
}

void Logind::announceSleep(bool begins) {
  connection_->tree().sendSignal(LogindManager::path(), u"org.freedesktop.login1.Manager"_s, u"PrepareForSleep"_s,
                                 {begins});
}

void Logind::askToLock(bool lock) {
  connection_->tree().sendSignal(sessionPath(), u"org.freedesktop.login1.Session"_s, lock ? u"Lock"_s : u"Unlock"_s);
  screen_.setLocked(lock);
}

QString Logind::sleepDelayers() const {
  QStringList names;
  for (const auto& one : inhibitors_.all())
    if (one.mode == delayMode && one.what.split(u':').contains(sleepWord)) names.append(one.who);
  return names.join(u", "_s);
}

}  // namespace zolvex::lab
