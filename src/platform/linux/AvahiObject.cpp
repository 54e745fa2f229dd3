#include "platform/linux/AvahiObject.h"

#include "platform/linux/AvahiDaemon.h"

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

AvahiObject::AvahiObject(AvahiDaemon& daemon, const QString& kind, const QVariantList& arguments, Events events)
    : daemon_(daemon), interface_(u"org.freedesktop.Avahi."_s + kind), events_(std::move(events)) {
  daemon_.make(self_, kind, arguments);
}

AvahiObject::~AvahiObject() {
  if (!path_.isEmpty()) daemon_.free(path_, interface_);
}

void AvahiObject::call(const QString& method, const QVariantList& arguments,
                       std::function<void(const QDBusMessage&)> answer) {
  daemon_.call(
      path_, interface_, method, arguments,
      [alive = std::weak_ptr(self_), answer = std::move(answer)](const QDBusMessage& reply) {
        if (!alive.expired()) answer(reply);
      },
      daemon_.patience_.callLimit);
}

namespace avahi {

QString withoutDot(const std::string& name) {
  auto text = QString::fromStdString(name);
  if (text.endsWith(u'.')) text.chop(1);
  return text;
}

QString errorText(const QDBusMessage& error) {
  return error.errorName() + u": "_s + error.errorMessage();
}

}  // namespace avahi

}  // namespace zolvex
