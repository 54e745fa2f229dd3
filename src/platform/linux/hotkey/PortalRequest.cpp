#include "platform/linux/hotkey/PortalRequest.h"

#include "platform/linux/BusService.h"

#include <QDBusArgument>
#include <QDBusError>
#include <QDBusObjectPath>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

const auto requestInterface = u"org.freedesktop.portal.Request"_s;

/// Where the portal puts the object of a question, so that it can be listened to before the question is asked.
QString handleOf(QString sender, const QString& token) {
  return QString::fromLatin1(portal::path) + u"/request/"_s + sender.remove(u':').replace(u'.', u'_') + u'/' + token;
}

}  // namespace

PortalRequest::PortalRequest(MainQueue& mainQueue, BusService& portal, const QString& sender, Question question,
                             Answer answer)
    : portal_(portal), handle_(handleOf(sender, question.token)), answer_(std::move(answer)) {
  response_ = portal_.listen({}, requestInterface, u"Response"_s,
                             lifetime_.guard([this](const QDBusMessage& signal) { responded(signal); }));
  limit_ = mainQueue.after(question.limit, [this] { end({.code = noAnswer}); });
  question.options[u"handle_token"_s] = question.token;
  question.arguments << question.options;
  portal_.call(QString::fromLatin1(portal::path), question.interface, question.method, question.arguments,
               lifetime_.guard([this](const QDBusMessage& reply) { called(reply); }));
}

PortalRequest::~PortalRequest() {
  if (answer_) takeBack();
}

void PortalRequest::takeBack() {
  portal_.call(handle_, requestInterface, u"Close"_s, {}, [](const QDBusMessage&) {});
}

void PortalRequest::called(const QDBusMessage& reply) {
  if (reply.type() == QDBusMessage::ErrorMessage) {
    const bool isSilent = QDBusError(reply).type() == QDBusError::NoReply;
    return end({.code = isSilent ? noAnswer : callFailed, .error = reply.errorMessage().toStdString()});
  }
  // An old portal chooses the object itself.
  const auto handle = reply.arguments().value(0).value<QDBusObjectPath>().path();
  if (!handle.isEmpty()) handle_ = handle;
}

void PortalRequest::responded(const QDBusMessage& signal) {
  if (signal.path() != handle_ || signal.signature() != "ua{sv}"_L1) return;
  end({.code = static_cast<int>(signal.arguments().at(0).toUInt()),
       .results = qdbus_cast<QVariantMap>(signal.arguments().at(1))});
}

void PortalRequest::end(const Response& response) {
  limit_.cancel();
  if (answer_ && response.code == noAnswer) takeBack();
  if (const auto answer = std::exchange(answer_, nullptr)) answer(response);
}

}  // namespace zolvex
