#pragma once

#include "core/Published.h"

#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QVariantList>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <vector>

namespace zolvex {

class AvahiObject;
class BusLink;

/// avahi-daemon as seen from the system bus. It follows the bus, the daemon's name on it and the state the daemon
/// reports, and tells its users when they can begin and when all they had from the daemon is void: at its end, at the
/// end of the bus, while it looks for another host name, and when it no longer answers. A daemon that does not answer
/// is asked again until it does. The signals of the daemon's objects are handed to their AvahiObject. Calls never
/// block. Owned by the application; the bus link must outlive it, and it its users. Main thread.
class AvahiDaemon final : public QObject {
  Q_OBJECT

 public:
  /// With a daemon that has its name on the bus and does not answer.
  struct Patience {
    std::chrono::milliseconds stateLimit{5'000};  ///< When it is asked for its state.
    std::chrono::milliseconds callLimit{25'000};  ///< When it is asked for anything else.
    std::chrono::milliseconds pause{10'000};      ///< Before it is asked for its state again.
  };

  /// Before the link is started, or after.
  explicit AvahiDaemon(BusLink& systemBus) : AvahiDaemon(systemBus, Patience()) {}
  AvahiDaemon(BusLink& systemBus, Patience patience);

  bool isRunning() const { return isRunning_; }

  Signal<> started;
  Signal<> ended;

 private:
  friend class AvahiObject;
  using Answer = std::function<void(const QDBusMessage& reply)>;

  void busArrived();
  void setOwner(const QString& owner);
  void listen(bool begin);
  void askForState();
  void stateAnswered(const QDBusMessage& reply);
  void doesNotAnswer(const QDBusMessage& error);
  void setState(int state);
  void make(const std::shared_ptr<AvahiObject*>& object, const QString& kind, const QVariantList& arguments);
  void made(const std::weak_ptr<AvahiObject*>& object, const QString& interface, const QDBusMessage& reply);
  void deliver(const QDBusMessage& signal);
  void free(const QString& path, const QString& interface);

  /// `answer` gets the reply or the error unless the daemon has ended or restarted by then.
  void call(const QString& path, const QString& interface, const QString& method, const QVariantList& arguments,
            Answer answer, std::chrono::milliseconds limit);

 private Q_SLOTS:
  void ownerChanged(const QDBusMessage& message);
  void signalled(const QDBusMessage& message);

 private:
  BusLink& systemBus_;
  const Patience patience_;
  QString owner_;  // the daemon's unique name on the bus; empty while it is not there
  bool isRunning_ = false;
  bool isAbsenceLogged_ = false;
  bool isSilenceLogged_ = false;
  QTimer nextQuestion_;
  std::map<QString, std::weak_ptr<AvahiObject*>> objects_;     // by path
  int objectsInTheMaking_ = 0;                                 // while there are any,
  std::map<QString, std::vector<QDBusMessage>> earlySignals_;  // what objects with unknown paths say is kept here
  Subscription arrival_;
  Subscription loss_;
};

}  // namespace zolvex
