#include "lab/session/LogindSession.h"

#include "lab/session/Logind.h"
#include "lab/session/LogindTypes.h"

#include <unistd.h>

namespace zolvex::lab {

using namespace Qt::StringLiterals;

QString LogindSession::name() const {
  return u"org.freedesktop.login1.Session"_s;
}

QVariantMap LogindSession::properties() const {
  const NumberedObject user{getuid(), QDBusObjectPath(Logind::userPath())};
  const NamedObject seat{u"seat0"_s, QDBusObjectPath(u"/org/freedesktop/login1/seat/seat0"_s)};
  return {
      {u"Active"_s, true},
      {u"Class"_s, u"user"_s},
      {u"Desktop"_s, u"gnome"_s},
      {u"Display"_s, QString()},
      {u"Id"_s, Logind::sessionId()},
      {u"IdleHint"_s, false},
      {u"LockedHint"_s, logind_.isLockedHint()},
      {u"Name"_s, u"user"_s},
      {u"Remote"_s, false},
      {u"Seat"_s, QVariant::fromValue(seat)},
      {u"Service"_s, u"gdm-password"_s},
      {u"State"_s, u"active"_s},
      {u"TTY"_s, u"tty2"_s},
      {u"Type"_s, u"wayland"_s},
      {u"User"_s, QVariant::fromValue(user)},
      {u"VTNr"_s, quint32{2}},
  };
}

bool LogindSession::handle(const BusCall& call) {
  if (call.member() == u"Lock"_s) return call.reply(), logind_.askToLock(true), true;
  if (call.member() == u"Unlock"_s) return call.reply(), logind_.askToLock(false), true;
  if (call.member() != u"SetLockedHint"_s || call.signature() != u"b"_s) return false;
  logind_.setLockedHint(call.arguments().value(0).toBool());
  return call.reply(), true;
}

QString LogindSession::introspection() const {
  return QStringLiteral(R"xml(<method name="Lock"/>
<method name="Unlock"/>
<method name="SetLockedHint"><arg name="locked" type="b" direction="in"/></method>
<signal name="Lock"/>
<signal name="Unlock"/>
<property name="Active" type="b" access="read"/>
<property name="Class" type="s" access="read"/>
<property name="Desktop" type="s" access="read"/>
<property name="Display" type="s" access="read"/>
<property name="Id" type="s" access="read"/>
<property name="IdleHint" type="b" access="read"/>
<property name="LockedHint" type="b" access="read"/>
<property name="Name" type="s" access="read"/>
<property name="Remote" type="b" access="read"/>
<property name="Seat" type="(so)" access="read"/>
<property name="Service" type="s" access="read"/>
<property name="State" type="s" access="read"/>
<property name="TTY" type="s" access="read"/>
<property name="Type" type="s" access="read"/>
<property name="User" type="(uo)" access="read"/>
<property name="VTNr" type="u" access="read"/>
)xml");
}

}  // namespace zolvex::lab
