#pragma once

#include "core/Lifetime.h"
#include "core/MainQueue.h"
#include "core/Published.h"

#include <QDBusConnection>
#include <QObject>

#include <memory>
#include <optional>
#include <string>

namespace zolvex {

/// A connection to one message bus that comes and goes with the bus. It tries to connect in a thread of its own, so
/// that a slow bus never holds up the main thread, tries again while the bus is missing, notices the end of the bus,
/// and tells its users of each arrival and loss. On arrival they set up everything anew (objects, names, matches);
/// on loss they forget what they had from the bus.
/// Owned by the application, one per bus. Main thread.
class BusLink final : public QObject {
  Q_OBJECT

 public:
  enum class Bus { system, session };

  static constexpr Seconds retryInterval{3.0};

  /// Looks the address up at each attempt: DBUS_SYSTEM_BUS_ADDRESS or the well-known socket,
  /// DBUS_SESSION_BUS_ADDRESS or the bus in XDG_RUNTIME_DIR.
  BusLink(MainQueue& mainQueue, Bus bus);

  /// `name` stands for the bus in log lines, `address` as in "unix:path=/...".
  BusLink(MainQueue& mainQueue, std::string name, std::string address);

  ~BusLink() override;

  /// Begins to connect; once, when the users observe.
  void start();

  bool isConnected() const { return connection_.has_value(); }

  /// Only while isConnected().
  QDBusConnection connection() const { return *connection_; }

  Signal<> arrived;
  Signal<> lost;

 private:
  struct Attempt;

  void attempt();
  void attemptEnded(Attempt& attempt);
  void missing(const std::string& error);
  void scheduleAttempt();
  void drop();

 private Q_SLOTS:
  void disconnected();

 private:
  MainQueue& mainQueue_;
  const std::string name_;
  const std::optional<Bus> bus_;
  const std::string address_;
  std::shared_ptr<Attempt> attempt_;
  std::optional<QDBusConnection> connection_;
  bool missingLogged_ = false;
  WorkItem retry_;
  Lifetime lifetime_;
};

}  // namespace zolvex
