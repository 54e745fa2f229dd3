#include "lab/session/LogindManager.h"

#include "lab/bus/BusNames.h"
#include "lab/session/Logind.h"
#include "lab/session/LogindTypes.h"

#include <QDBusUnixFileDescriptor>

#include <unistd.h>

namespace zolvex::lab {

using namespace Qt::StringLiterals;

namespace {

const auto noSuchSession = u"org.freedesktop.login1.NoSuchSession"_s;
const auto noSessionForProcess = u"org.freedesktop.login1.NoSessionForPID"_s;

QVariant pathValue(const QString& path) {
  return QVariant::fromValue(QDBusObjectPath(path));
}

/// What is wrong with the arguments of an Inhibit; empty when nothing is.
QString complaintAbout(const Inhibitor& wanted) {
  if (!Inhibitors::isKnown(wanted.what)) return u"Invalid what %1"_s.arg(wanted.what);
  if (wanted.mode != u"block"_s && wanted.mode != u"delay"_s) return u"Invalid mode %1"_s.arg(wanted.mode);
  for (const auto& word : wanted.what.split(u':'))
    if (wanted.mode == u"delay"_s && word != u"sleep"_s && word != u"shutdown"_s)
      return u"Delay inhibitors only supported for shutdown and sleep"_s;
  return {};
}

}  // namespace

QString LogindManager::path() {
  return u"/org/freedesktop/login1"_s;
}

QString LogindManager::name() const {
  return u"org.freedesktop.login1.Manager"_s;
}

QVariantMap LogindManager::properties() const {
  const auto limit = std::chrono::microseconds(logind_.options().inhibitDelayMax);
  return {
      {u"BlockInhibited"_s, logind_.inhibitors().inhibitedBy(u"block"_s)},
      {u"DelayInhibited"_s, logind_.inhibitors().inhibitedBy(u"delay"_s)},
      {u"IdleHint"_s, false},
      {u"InhibitDelayMaxUSec"_s, quint64(limit.count())},
      {u"NCurrentInhibitors"_s, quint64{logind_.inhibitors().all().size()}},
      {u"NCurrentSessions"_s, quint64{1}},
      {u"PreparingForShutdown"_s, false},
      {u"PreparingForSleep"_s, logind_.sleepState() != Logind::SleepState::awake},
  };
}

QStringList LogindManager::silentProperties() const {
  return {u"InhibitDelayMaxUSec"_s, u"NCurrentInhibitors"_s, u"NCurrentSessions"_s, u"PreparingForShutdown"_s,
          u"PreparingForSleep"_s};
}

bool LogindManager::handle(const BusCall& call) {
  const auto member = call.member();
  const auto signature = call.signature();
  if (member == u"Inhibit"_s && signature == u"ssss"_s) return inhibit(call), true;
  if (member == u"ListInhibitors"_s) return listInhibitors(call), true;
  if (member == u"GetSession"_s && signature == u"s"_s) return getSession(call), true;
  if (member == u"GetSessionByPID"_s && signature == u"u"_s) return getSessionByProcess(call), true;
  if (member == u"GetUser"_s && signature == u"u"_s) return getUser(call), true;
  if (member == u"GetUserByPID"_s && signature == u"u"_s) return call.reply({pathValue(Logind::userPath())}), true;
  if (member == u"ListSessions"_s) return listSessions(call), true;
  if (member == u"LockSession"_s && signature == u"s"_s) return lockSession(call, true), true;
  if (member == u"UnlockSession"_s && signature == u"s"_s) return lockSession(call, false), true;
  if (member == u"LockSessions"_s) return call.reply(), logind_.askToLock(true), true;
  if (member == u"UnlockSessions"_s) return call.reply(), logind_.askToLock(false), true;
  if (member == u"CanSuspend"_s) return call.reply({u"yes"_s}), true;
  if (member == u"Suspend"_s && signature == u"b"_s) return suspend(call), true;
  if (member == u"SuspendWithFlags"_s && signature == u"t"_s) return suspend(call), true;
  return false;
}

void LogindManager::inhibit(const BusCall& call) {
  const auto words = call.arguments();
  const Inhibitor wanted{.what = words.value(0).toString(),
                         .who = words.value(1).toString(),
                         .why = words.value(2).toString(),
                         .mode = words.value(3).toString(),
                         .user = logind_.userOf(call.sender()),
                         .process = logind_.processOf(call.sender())};
  if (const auto complaint = complaintAbout(wanted); !complaint.isEmpty())
    return call.fail(invalidArguments, complaint);
  if (logind_.sleepState() != Logind::SleepState::awake && wanted.what.split(u':').contains(u"sleep"_s))
    return call.fail(u"org.freedesktop.login1.OperationInProgress"_s,
                     u"The operation inhibition has been requested for is already running"_s);
  const auto descriptor = logind_.inhibitors().take(wanted);
  if (descriptor < 0) return call.fail(u"org.freedesktop.DBus.Error.LimitsExceeded"_s, u"No pipe"_s);
  call.reply({QVariant::fromValue(QDBusUnixFileDescriptor(descriptor))});
  close(descriptor);  // the reply has a copy of its own
}

void LogindManager::suspend(const BusCall& call) {
  const auto refusal = logind_.sleep();
  refusal ? call.fail(refusal->errorName, refusal->text) : call.reply();
}

void LogindManager::lockSession(const BusCall& call, bool lock) {
  const auto id = call.arguments().value(0).toString();
  if (id != Logind::sessionId()) return call.fail(noSuchSession, u"No session '%1' known"_s.arg(id));
  call.reply();
  logind_.askToLock(lock);
}

void LogindManager::getSession(const BusCall& call) const {
  const auto id = call.arguments().value(0).toString();
  const auto isOwn = id.isEmpty() || id == u"self"_s;
  if (isOwn && !logind_.options().callersAreInSession)
    return call.fail(noSessionForProcess, u"Caller does not belong to any known session"_s);
  if (isOwn || id == u"auto"_s || id == Logind::sessionId()) return call.reply({pathValue(Logind::sessionPath())});
  call.fail(noSuchSession, u"No session '%1' known"_s.arg(id));
}

void LogindManager::getSessionByProcess(const BusCall& call) const {
  if (logind_.options().callersAreInSession) return call.reply({pathValue(Logind::sessionPath())});
  const auto number = call.arguments().value(0).toUInt();
  const auto process = number == 0 ? logind_.processOf(call.sender()) : number;
  call.fail(noSessionForProcess, u"PID %1 does not belong to any known session"_s.arg(process));
}

void LogindManager::getUser(const BusCall& call) const {
  const auto number = call.arguments().value(0).toUInt();
  if (number == getuid()) return call.reply({pathValue(Logind::userPath())});
  call.fail(u"org.freedesktop.login1.NoSuchUser"_s, u"User ID %1 is not logged in or lingering"_s.arg(number));
}

void LogindManager::listSessions(const BusCall& call) const {
  const SessionRow row{Logind::sessionId(), getuid(), u"user"_s, u"seat0"_s, QDBusObjectPath(Logind::sessionPath())};
  call.reply({QVariant::fromValue(QList<SessionRow>{row})});
}

void LogindManager::listInhibitors(const BusCall& call) const {
  QList<InhibitorRow> rows;
  for (const auto& one : logind_.inhibitors().all())
    rows.append(InhibitorRow{one.what, one.who, one.why, one.mode, one.user, one.process});
  call.reply({QVariant::fromValue(rows)});
}

QString LogindManager::introspection() const {
  return QStringLiteral(
      R"xml(<method name="GetSession"><arg name="session_id" type="s" direction="in"/><arg name="object_path" type="o" direction="out"/></method>
<method name="GetSessionByPID"><arg name="pid" type="u" direction="in"/><arg name="object_path" type="o" direction="out"/></method>
<method name="GetUser"><arg name="uid" type="u" direction="in"/><arg name="object_path" type="o" direction="out"/></method>
<method name="GetUserByPID"><arg name="pid" type="u" direction="in"/><arg name="object_path" type="o" direction="out"/></method>
<method name="ListSessions"><arg name="sessions" type="a(susso)" direction="out"/></method>
<method name="ListInhibitors"><arg name="inhibitors" type="a(ssssuu)" direction="out"/></method>
<method name="LockSession"><arg name="session_id" type="s" direction="in"/></method>
<method name="UnlockSession"><arg name="session_id" type="s" direction="in"/></method>
<method name="LockSessions"/>
<method name="UnlockSessions"/>
<method name="Suspend"><arg name="interactive" type="b" direction="in"/></method>
<method name="SuspendWithFlags"><arg name="flags" type="t" direction="in"/></method>
<method name="CanSuspend"><arg name="result" type="s" direction="out"/></method>
<method name="Inhibit"><arg name="what" type="s" direction="in"/><arg name="who" type="s" direction="in"/><arg name="why" type="s" direction="in"/><arg name="mode" type="s" direction="in"/><arg name="pipe_fd" type="h" direction="out"/></method>
<signal name="PrepareForSleep"><arg name="start" type="b"/></signal>
<property name="BlockInhibited" type="s" access="read"/>
<property name="DelayInhibited" type="s" access="read"/>
<property name="IdleHint" type="b" access="read"/>
<property name="InhibitDelayMaxUSec" type="t" access="read"/>
<property name="NCurrentInhibitors" type="t" access="read"/>
<property name="NCurrentSessions" type="t" access="read"/>
<property name="PreparingForShutdown" type="b" access="read"/>
<property name="PreparingForSleep" type="b" access="read"/>
)xml");
}

}  // namespace zolvex::lab
