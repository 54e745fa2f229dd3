#pragma once

#include "core/Log.h"
#include "core/MainQueue.h"
#include "core/Published.h"

#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QVariantList>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace zolvex {

class BusLink;
class BusListener;

/// One service on a message bus that may be absent, come late, restart or stop answering. It follows the bus and the
/// service's name on it, logs each coming and going, keeps the signals that its users listen to over restarts, and
/// calls without blocking and without starting the service. Nothing of an ended instance reaches the users. One that
/// does not answer is asked again from time to time. Owned beside its users, which it outlives; the bus link must
/// outlive it. Main thread.
class BusService final : public QObject {
  Q_OBJECT

 public:
  using Handler = std::function<void(const QDBusMessage& message)>;

  static constexpr std::chrono::milliseconds answerLimit{5'000};
  static constexpr Seconds silenceRetryInterval{60.0};

  /// Before the link is started. Log lines go to `logger`.
  BusService(MainQueue& mainQueue, BusLink& bus, QString name, Logger logger);

  std::string name() const { return name_.toStdString(); }
  bool isPresent() const { return !owner_.isEmpty(); }

  /// It is there now and wants to be asked; what is listened to misses nothing from here on. Told again for an instance
  /// that has left a call without an answer, each time after silenceRetryInterval.
  Signal<> appeared;

  /// It is not there: found so when the bus came, or it has gone, or the bus has.
  Signal<> absent;

  /// `handler` gets each signal `member` of `interface` at `path`, an empty path standing for any.
  [[nodiscard]] Subscription listen(const QString& path, const QString& interface, const QString& member,
                                    Handler handler);

  /// `answer` gets the reply or the error, at the latest after answerLimit. It gets nothing when the service is absent,
  /// or has ended by then.
  void call(const QString& path, const QString& interface, const QString& method, const QVariantList& arguments,
            Handler answer);

 private:
  void busArrived();
  void answered(const QString& owner);
  void setOwner(const QString& owner);
  void ownerGone();
  void noteAnswer(const QDBusMessage& reply);
  void connectTo(BusListener& listener);
  void disconnectFrom(BusListener& listener);

 private Q_SLOTS:
  void ownerChanged(const QDBusMessage& message);

 private:
  MainQueue& mainQueue_;
  BusLink& bus_;
  const QString name_;
  const Logger logger_;
  QString owner_;  // its unique name on the bus; empty while it is not there
  bool isAbsenceLogged_ = false;
  bool isSilent_ = false;  // has left a call without an answer, and answered none since
  WorkItem silenceRetry_;
  std::vector<BusListener*> listeners_;  // children of this
  Subscription arrival_;
  Subscription loss_;
};

}  // namespace zolvex
