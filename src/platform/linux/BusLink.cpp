#include "platform/linux/BusLink.h"

#include "core/Log.h"
#include "platform/linux/BusAddress.h"
#include "platform/linux/BusProbe.h"

#include <QDBusError>
#include <QFile>

#include <atomic>
#include <mutex>
#include <thread>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

constexpr Logger logger("MessageBus");

std::string addressOf(BusLink::Bus bus) {
  return bus == BusLink::Bus::system ? systemBusAddress() : sessionBusAddress();
}

/// Whether the address is that of a socket file that does not exist: a look that costs less than an attempt.
bool isPlainlyMissing(const QString& address) {
  constexpr auto prefix = "unix:path="_L1;
  if (!address.startsWith(prefix)) return false;
  const auto path = address.mid(prefix.size()).section(u',', 0, 0);
  return !path.contains(u'%') && !address.contains(u';') && !QFile::exists(path);
}

QString freshConnectionName() {
  static std::atomic<int> count{0};
  return u"zolvex-%1"_s.arg(++count);
}

}  // namespace

/// One try, shared by the link and the helper thread. Whoever lets go last closes a connection that nobody took.
struct BusLink::Attempt {
  std::mutex mutex;
  MainQueue* mainQueue = nullptr;  // none once the link is gone
  const QString connectionName = freshConnectionName();
  QString error;  // empty when connected
  bool isTaken = false;

  void connect(const QString& address) {
    if (!busAnswers(address.toStdString())) {
      error = u"there is no answer at "_s + address;
      return;
    }
    const auto connection = QDBusConnection::connectToBus(address, connectionName);
    if (!connection.isConnected()) error = connection.lastError().message();
  }

  ~Attempt() {
    if (!isTaken) QDBusConnection::disconnectFromBus(connectionName);
  }
};

BusLink::BusLink(MainQueue& mainQueue, Bus bus)
    : mainQueue_(mainQueue), name_(bus == Bus::system ? "system bus" : "session bus"), bus_(bus) {}

BusLink::BusLink(MainQueue& mainQueue, std::string name, std::string address)
    : mainQueue_(mainQueue), name_(std::move(name)), address_(std::move(address)) {}

BusLink::~BusLink() {
  if (attempt_) {
    const std::lock_guard lock(attempt_->mutex);
    attempt_->mainQueue = nullptr;
  }
  drop();
}

void BusLink::start() {
  attempt();
}

void BusLink::attempt() {
  const auto address = QString::fromStdString(bus_ ? addressOf(*bus_) : address_);
  if (isPlainlyMissing(address)) return missing("there is nothing at " + address.toStdString());
  const auto attempt = std::make_shared<Attempt>();
  attempt->mainQueue = &mainQueue_;
  attempt_ = attempt;
  const auto ended = lifetime_.guard([this, attempt] { attemptEnded(*attempt); });
  std::thread([attempt, ended, address] {
    attempt->connect(address);
    const std::lock_guard lock(attempt->mutex);
    if (attempt->mainQueue) attempt->mainQueue->async(ended);
  }).detach();
}

void BusLink::attemptEnded(Attempt& attempt) {
  attempt_ = nullptr;
  if (!attempt.error.isEmpty()) return missing(attempt.error.toStdString());
  attempt.isTaken = true;
  connection_.emplace(attempt.connectionName);
  connection_->connect(QString(), u"/org/freedesktop/DBus/Local"_s, u"org.freedesktop.DBus.Local"_s, u"Disconnected"_s,
                       this, SLOT(disconnected()));
  if (!connection_->isConnected()) return disconnected();
  missingLogged_ = false;
  logger.info("connected to the {}", name_);
  arrived.emit();
}

void BusLink::missing(const std::string& error) {
  if (!std::exchange(missingLogged_, true)) logger.error("no {} yet, waiting for it: {}", name_, error);
  scheduleAttempt();
}

void BusLink::scheduleAttempt() {
  retry_ = mainQueue_.after(retryInterval, [this] { attempt(); });
}

void BusLink::disconnected() {
  if (!connection_) return;
  drop();
  logger.error("lost the {}, waiting for it", name_);
  missingLogged_ = true;
  scheduleAttempt();
  lost.emit();
}

void BusLink::drop() {
  if (!connection_) return;
  const auto name = connection_->name();
  connection_.reset();
  QDBusConnection::disconnectFromBus(name);
}

}  // namespace zolvex
