#include "lab/session/ComputerSession.h"

#include <utility>

namespace zolvex::lab {

using namespace Qt::StringLiterals;

namespace {

void setOnScreen(Screen& screen, Logind& logind, SessionAct act) {
  if (act == SessionAct::displayOff || act == SessionAct::displayOn) return screen.setLit(act == SessionAct::displayOn);
  logind.askToLock(act == SessionAct::lock);
}

QString described(SessionAct act) {
  switch (act) {
    case SessionAct::lock:
      return u"is locked"_s;
    case SessionAct::unlock:
      return u"is unlocked"_s;
    case SessionAct::sleep:
      return u"is asleep"_s;
    case SessionAct::wake:
      return u"is awake"_s;
    case SessionAct::displayOff:
      return u"has its display off"_s;
    case SessionAct::displayOn:
      return u"has its display on"_s;
  }
  return {};
}

bool holds(SessionAct act, const Screen& screen) {
  const auto concernsLock = act == SessionAct::lock || act == SessionAct::unlock;
  return concernsLock ? screen.isLocked() == (act == SessionAct::lock)
                      : screen.isLit() == (act == SessionAct::displayOn);
}

}  // namespace

ComputerSession::ComputerSession(QString computer, LogindOptions options)
    : computer_(std::move(computer)), logind_(screen_, options), services_(screen_) {
  connect(&screen_, &Screen::lockedChanged, this,
          [this](bool locked) { Q_EMIT happened(locked ? u"is locked"_s : u"is unlocked"_s); });
  connect(&screen_, &Screen::litChanged, this,
          [this](bool lit) { Q_EMIT happened(lit ? u"has its display on"_s : u"has its display off"_s); });
  connect(&screen_, &Screen::activitySimulated, this,
          [this] { Q_EMIT happened(u"is told of user activity by a program"_s); });
  connect(&logind_, &Logind::preparesForSleep, this, &ComputerSession::onPreparesForSleep);
  connect(&logind_, &Logind::fellAsleep, this, &ComputerSession::onFellAsleep);
  connect(&logind_, &Logind::wakesUp, this, [this] {
    Q_EMIT happened(u"wakes up"_s);
    Q_EMIT wakesUp();
  });
}

bool ComputerSession::start(const QString& systemBus, const QString& sessionBus) {
  return logind_.start(systemBus) && services_.start(sessionBus);
}

void ComputerSession::stop() {
  waitForSleep_.clear();
  services_.stop();
  logind_.stop();
}

void ComputerSession::perform(SessionAct act, const ActListener& done) {
  if (const auto reason = reasonAgainst(act); !reason.isEmpty()) return done({false, computer_ + u' ' + reason});
  if (act == SessionAct::sleep) {
    waitForSleep_.push_back(done);
    const auto refusal = logind_.sleep();
    if (!refusal) return;
    waitForSleep_.pop_back();
    return done({false, u"%1 cannot sleep: %2"_s.arg(computer_, refusal->text)});
  }
  if (act == SessionAct::wake)
    logind_.wake();
  else
    setOnScreen(screen_, logind_, act);
  done({true, computer_ + u' ' + described(act)});
}

QString ComputerSession::reasonAgainst(SessionAct act) const {
  const auto state = logind_.sleepState();
  if (act == SessionAct::wake) return state == Logind::SleepState::asleep ? QString() : u"is not asleep"_s;
  if (state == Logind::SleepState::preparing && act == SessionAct::sleep) return u"is going to sleep already"_s;
  if (state == Logind::SleepState::asleep) return act == SessionAct::sleep ? u"is asleep already"_s : u"is asleep"_s;
  return act != SessionAct::sleep && holds(act, screen_) ? described(act) + u" already"_s : QString();
}

void ComputerSession::onPreparesForSleep(const QString& heldUpBy) {
  sincePreparing_.start();
  const auto holders = heldUpBy.isEmpty() ? QString() : u", held up by %1"_s.arg(heldUpBy);
  Q_EMIT happened(u"goes to sleep"_s + holders);
}

void ComputerSession::onFellAsleep(const QString& cutShort) {
  Q_EMIT fellAsleep();
  auto text = u"is asleep after %1 ms"_s.arg(sincePreparing_.elapsed());
  if (!cutShort.isEmpty()) text += u", the most that %1 could hold it up"_s.arg(cutShort);
  Q_EMIT happened(text);
  for (const auto& done : std::exchange(waitForSleep_, {})) done({true, computer_ + u' ' + text});
}

}  // namespace zolvex::lab
