#pragma once

#include "core/Published.h"

#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QVariantList>

#include <functional>

namespace zolvex {

class BusLink;

/// avahi-daemon as seen from the system bus. It follows the bus, the daemon's name on it and the state the daemon
/// reports, and tells its users when they can begin and when all they had from the daemon is void: at its end, at the
/// end of the bus, and while it looks for another host name. Calls never block.
/// Owned by the application; the bus link must outlive it. Main thread.
class AvahiDaemon final : public QObject {
  Q_OBJECT

 public:
  using Answer = std::function<void(const QDBusMessage& reply)>;

  /// Before the link is started, or after.
  explicit AvahiDaemon(BusLink& systemBus);

  bool isRunning() const { return isRunning_; }

  Signal<> started;
  Signal<> ended;

  /// Calls a method of the server object. `answer` gets the reply or the error unless `context` is gone or the daemon
  /// has ended or restarted by then.
  void callServer(const QString& interface, const QString& method, const QVariantList& arguments, QObject* context,
                  Answer answer);

  /// The same for an object that the daemon made for us.
  void call(const QString& path, const QString& interface, const QString& method, const QVariantList& arguments,
            QObject* context, Answer answer);

  /// The same when nobody cares for the answer.
  void tell(const QString& path, const QString& interface, const QString& method);

  /// Delivers a signal of an object that the daemon made for us to `slot`, which takes the QDBusMessage.
  void listen(const QString& path, const QString& interface, const QString& signal, QObject* receiver,
              const char* slot);
  void ignore(const QString& path, const QString& interface, const QString& signal, QObject* receiver,
              const char* slot);

 private:
  void busArrived();
  void setOwner(const QString& owner);
  void setState(int state);

 private Q_SLOTS:
  void ownerChanged(const QDBusMessage& message);
  void stateChanged(const QDBusMessage& message);

 private:
  BusLink& systemBus_;
  QString owner_;  // the daemon's unique name on the bus; empty while it is not there
  bool isRunning_ = false;
  bool isAbsenceLogged_ = false;
  Subscription arrival_;
  Subscription loss_;
};

}  // namespace zolvex
