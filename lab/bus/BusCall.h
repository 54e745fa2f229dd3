#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QElapsedTimer>
#include <QVariantList>

#include <functional>
#include <memory>

namespace zolvex::lab {

/// One method call that arrived from the bus. Copies stand for the same call; it is answered once, now or later, by
/// whichever copy comes first. A call whose copies all go without an answer is never answered.
class BusCall {
 public:
  /// Told how the call ended: the error's name, or nothing.
  using AnswerListener = std::function<void(const BusCall& call, const QString& errorName)>;

  BusCall(const QDBusMessage& message, const QDBusConnection& connection, AnswerListener listener = {});

  QString sender() const { return state_->message.service(); }
  QString path() const { return state_->message.path(); }
  QString interface() const { return state_->message.interface(); }
  QString member() const { return state_->message.member(); }
  QVariantList arguments() const { return state_->message.arguments(); }
  QString signature() const { return state_->message.signature(); }
  bool isAnswered() const { return state_->isAnswered; }

  /// Since the call arrived.
  qint64 elapsedMilliseconds() const { return state_->clock.elapsed(); }

  void reply(const QVariantList& values = {}) const;
  void fail(const QString& errorName, const QString& text) const;

 private:
  struct State {
    QDBusMessage message;
    QDBusConnection connection;
    AnswerListener listener;
    QElapsedTimer clock;
    bool isAnswered = false;
  };

  void answer(const QDBusMessage& message, const QString& errorName) const;

  std::shared_ptr<State> state_;
};

}  // namespace zolvex::lab
