#include "lab/bus/BusCall.h"

namespace zolvex::lab {

BusCall::BusCall(const QDBusMessage& message, const QDBusConnection& connection, AnswerListener listener)
    : state_(std::make_shared<State>(State{message, connection, std::move(listener), {}, false})) {
  state_->clock.start();
}

void BusCall::reply(const QVariantList& values) const {
  answer(state_->message.createReply(values), {});
}

void BusCall::fail(const QString& errorName, const QString& text) const {
  answer(state_->message.createErrorReply(errorName, text), errorName);
}

void BusCall::answer(const QDBusMessage& message, const QString& errorName) const {
  if (state_->isAnswered) return;
  state_->isAnswered = true;
  if (state_->message.isReplyRequired()) state_->connection.send(message);
  if (state_->listener) state_->listener(*this, errorName);
}

}  // namespace zolvex::lab
