#include "lab/session/LogindUser.h"

#include "lab/session/Logind.h"
#include "lab/session/LogindTypes.h"

#include <unistd.h>

namespace zolvex::lab {

using namespace Qt::StringLiterals;

QString LogindUser::name() const {
  return u"org.freedesktop.login1.User"_s;
}

QVariantMap LogindUser::properties() const {
  const NamedObject session{Logind::sessionId(), QDBusObjectPath(Logind::sessionPath())};
  return {
      {u"Display"_s, QVariant::fromValue(session)},
      {u"GID"_s, quint32{getgid()}},
      {u"IdleHint"_s, false},
      {u"Name"_s, u"user"_s},
      {u"Sessions"_s, QVariant::fromValue(QList<NamedObject>{session})},
      {u"State"_s, u"active"_s},
      {u"UID"_s, quint32{getuid()}},
  };
}

QString LogindUser::introspection() const {
  return QStringLiteral(R"xml(<property name="Display" type="(so)" access="read"/>
<property name="GID" type="u" access="read"/>
<property name="IdleHint" type="b" access="read"/>
<property name="Name" type="s" access="read"/>
<property name="Sessions" type="a(so)" access="read"/>
<property name="State" type="s" access="read"/>
<property name="UID" type="u" access="read"/>
)xml");
}

}  // namespace zolvex::lab
