#include "platform/linux/LogindSession.h"

#include "core/Log.h"
#include "platform/linux/BusService.h"
#include "platform/linux/LogindNames.h"

#include <QDBusObjectPath>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

constexpr Logger logger("SessionEvents");

// logind's word for the caller's session or, for a process outside of any, that of its user's display.
const auto ownOrDisplaySession = u"auto"_s;

}  // namespace

LogindSession::LogindSession(BusService& logind, SessionAspect& locked)
    : logind_(logind),
      locked_(locked),
      source_(locked.addSource("logind")),
      appearance_(logind.appeared.observe([this] { lookUp(); })),
      absence_(logind.absent.observe([this] { forget(); })),
      beginnings_(logind.listen(logind::managerPath, logind::managerInterface, u"SessionNew"_s,
                                [this](const QDBusMessage&) { sessionBegan(); })),
      ends_(logind.listen(logind::managerPath, logind::managerInterface, u"SessionRemoved"_s,
                          [this](const QDBusMessage& signal) {
                            sessionEnded(signal.arguments().value(1).value<QDBusObjectPath>().path());
                          })) {}

void LogindSession::lookUp() {
  const auto sessionId = qEnvironmentVariable("XDG_SESSION_ID");
  askFor(sessionId.isEmpty() ? ownOrDisplaySession : sessionId);
}

void LogindSession::askFor(const QString& sessionId) {
  logind_.call(logind::managerPath, logind::managerInterface, u"GetSession"_s, {sessionId},
               lifetime_.guard([this, sessionId](const QDBusMessage& reply) { answered(sessionId, reply); }));
}

void LogindSession::answered(const QString& sessionId, const QDBusMessage& reply) {
  const auto path = reply.arguments().value(0).value<QDBusObjectPath>().path();
  if (!path.isEmpty()) return follow(path);
  if (sessionId != ownOrDisplaySession) return askFor(ownOrDisplaySession);
  locked_.lost(source_);
  if (!std::exchange(isAbsenceLogged_, true)) logger.info("no session of this user yet, waiting for one");
}

void LogindSession::follow(const QString& path) {
  path_ = path;
  isAbsenceLogged_ = false;
  const auto request = [this](bool locked) {
    return [this, locked](const QDBusMessage&) { locked_.requested(source_, locked); };
  };
  lockRequests_ = logind_.listen(path, logind::sessionInterface, u"Lock"_s, request(true));
  unlockRequests_ = logind_.listen(path, logind::sessionInterface, u"Unlock"_s, request(false));
  lockedHint_.emplace(logind_, BusProperty::Name{path, logind::sessionInterface, u"LockedHint"_s},
                      BusProperty::Events{
                          .found = [this](const QVariant& value) { locked_.found(source_, value.toBool()); },
                          .changed = [this](const QVariant& value) { locked_.changed(source_, value.toBool()); },
                          .lost = [this] { locked_.lost(source_); },
                      });
}

void LogindSession::sessionBegan() {
  if (path_.isEmpty()) lookUp();
}

void LogindSession::sessionEnded(const QString& path) {
  if (path_.isEmpty() || path != path_) return;
  forget();
  lookUp();
}

void LogindSession::forget() {
  path_.clear();
  lockRequests_.cancel();
  unlockRequests_.cancel();
  lockedHint_.reset();
  locked_.lost(source_);
}

}  // namespace zolvex
