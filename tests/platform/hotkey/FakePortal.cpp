#include "platform/hotkey/FakePortal.h"

#include <QDBusArgument>
#include <QTimer>

#include <algorithm>

namespace zolvex::test {

using namespace Qt::Literals::StringLiterals;

FakePortal::FakePortal(const QString& busAddress, Manners theManners)
    : manners(theManners), service_(busAddress, u"org.freedesktop.portal.Desktop"_s, [this](const QDBusMessage& call) {
        return answer(call);
      }) {}

int FakePortal::count(const QString& method) const {
  return static_cast<int>(std::count_if(service_.calls().begin(), service_.calls().end(),
                                        [&](const QDBusMessage& call) { return call.member() == method; }));
}

QStringList FakePortal::closed() const {
  QStringList paths;
  for (const auto& call : service_.calls())
    if (call.member() == u"Close"_s) paths.append(call.path());
  return paths;
}

QDBusMessage FakePortal::call(const QString& method) const {
  const auto found = std::find_if(service_.calls().rbegin(), service_.calls().rend(),
                                  [&](const QDBusMessage& call) { return call.member() == method; });
  return found == service_.calls().rend() ? QDBusMessage() : *found;
}

QDBusMessage FakePortal::answer(const QDBusMessage& call) {
  if (manners.isSilent) return {};
  client_ = call.service();
  if (call.member() == u"Register"_s && !manners.knowsPrograms)
    return call.createErrorReply(QDBusError::UnknownMethod, u"No such interface"_s);
  if (call.member() == u"Register"_s && !manners.knowsUs)
    return call.createErrorReply(u"org.freedesktop.portal.Error.Failed"_s, u"App info not found"_s);
  if (call.member() == u"CreateSession"_s && !manners.knowsUs)
    return call.createErrorReply(u"org.freedesktop.portal.Error.NotAllowed"_s, u"An app id is required"_s);
  if (call.interface() == u"org.freedesktop.portal.GlobalShortcuts"_s && !manners.knowsShortcuts)
    return call.createErrorReply(QDBusError::UnknownMethod, u"No such interface"_s);
  const auto arguments = call.arguments();
  if (call.member() == u"CreateSession"_s) return answerSession(call, qdbus_cast<QVariantMap>(arguments.at(0)));
  if (call.member() == u"BindShortcuts"_s) return answerBinding(call, qdbus_cast<QVariantMap>(arguments.at(3)));
  return call.createReply();
}

QDBusMessage FakePortal::answerSession(const QDBusMessage& call, const QVariantMap& options) {
  openCreation_ = requestOf(call, options);
  session_ = u"/org/freedesktop/portal/desktop/session/1_1/"_s + options[u"session_handle_token"_s].toString();
  if (manners.opensSessions) openSession();
  return call.createReply(QVariant::fromValue(QDBusObjectPath(openCreation_)));
}

void FakePortal::openSession() {
  respond(openCreation_, 0, {{u"session_handle"_s, session_}});
}

QDBusMessage FakePortal::answerBinding(const QDBusMessage& call, const QVariantMap& options) {
  openBinding_ = requestOf(call, options);
  if (manners.decides) decide(manners.decision);
  return call.createReply(QVariant::fromValue(QDBusObjectPath(openBinding_)));
}

QString FakePortal::requestOf(const QDBusMessage& call, const QVariantMap& options) const {
  if (manners.isOldFashioned) return u"/org/freedesktop/portal/desktop/request/%1"_s.arg(service_.calls().size());
  auto sender = call.service().mid(1);
  return u"/org/freedesktop/portal/desktop/request/"_s + sender.replace(u'.', u'_') + u'/' +
         options[u"handle_token"_s].toString();
}

void FakePortal::respond(const QString& request, unsigned code, const QVariantMap& results) {
  const auto say = [this, request, code, results] {
    tell(request, u"org.freedesktop.portal.Request"_s, u"Response"_s, {code, results});
  };
  // Before the reply to the call, as a portal may that is quick; an old one is slower.
  manners.isOldFashioned ? QTimer::singleShot(0, &service_, say) : say();
}

void FakePortal::decide(unsigned decision) {
  respond(openBinding_, decision, {});
}

void FakePortal::activate(const QString& shortcut, const QString& session) {
  const auto path = QDBusObjectPath(session.isEmpty() ? session_ : session);
  tell(u"/org/freedesktop/portal/desktop"_s, u"org.freedesktop.portal.GlobalShortcuts"_s, u"Activated"_s,
       {QVariant::fromValue(path), shortcut, qulonglong{1}, QVariantMap()});
}

void FakePortal::closeSession() {
  tell(session_, u"org.freedesktop.portal.Session"_s, u"Closed"_s, {QVariantMap()});
}

void FakePortal::tell(const QString& path, const QString& interface, const QString& member,
                      const QVariantList& arguments) {
  auto signal = QDBusMessage::createTargetedSignal(client_, path, interface, member);
  signal.setArguments(arguments);
  service_.connection().send(signal);
}

}  // namespace zolvex::test
