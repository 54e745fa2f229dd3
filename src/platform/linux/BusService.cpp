#include "platform/linux/BusService.h"

#include "platform/linux/BusLink.h"

#include <QDBusError>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QPointer>

#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

const auto busService = u"org.freedesktop.DBus"_s;
const auto busPath = u"/org/freedesktop/DBus"_s;

}  // namespace

/// One signal that somebody listens to; each has a receiver of its own, so that none gets a signal twice because two
/// listen to it.
class BusListener final : public QObject {
  Q_OBJECT

 public:
  BusListener(BusService* service, QString thePath, QString theInterface, QString theMember,
              BusService::Handler handler)
      : QObject(service),
        path(std::move(thePath)),
        interface(std::move(theInterface)),
        member(std::move(theMember)),
        handler_(std::move(handler)) {}

  /// May come from within the handler.
  void end() {
    isEnded_ = true;
    deleteLater();
  }

  const QString path, interface, member;

 public Q_SLOTS:
  void signalled(const QDBusMessage& message) {
    if (!isEnded_) handler_(message);
  }

 private:
  const BusService::Handler handler_;
  bool isEnded_ = false;
};

BusService::BusService(MainQueue& mainQueue, BusLink& bus, QString name, Logger logger)
    : mainQueue_(mainQueue),
      bus_(bus),
      name_(std::move(name)),
      logger_(logger),
      arrival_(bus.arrived.observe([this] { busArrived(); })),
      loss_(bus.lost.observe([this] { setOwner({}); })) {}

void BusService::busArrived() {
  // From any sender, because naming one would make a blocking call; the slot looks at who it was.
  bus_.connection().connect(QString(), busPath, busService, u"NameOwnerChanged"_s, {name_}, QString(), this,
                            SLOT(ownerChanged(QDBusMessage)));
  auto question = QDBusMessage::createMethodCall(busService, busPath, busService, u"GetNameOwner"_s);
  question << name_;
  auto* watcher = new QDBusPendingCallWatcher(bus_.connection().asyncCall(question), this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
    watcher->deleteLater();
    const QDBusPendingReply<QString> reply = *watcher;
    answered(reply.isError() ? QString() : reply.value());
  });
}

void BusService::answered(const QString& owner) {
  if (!owner.isEmpty()) return setOwner(owner);
  if (isPresent()) return;
  if (!std::exchange(isAbsenceLogged_, true)) logger_.info("no {} yet, waiting for it", name());
  absent.emit();
}

void BusService::ownerChanged(const QDBusMessage& message) {
  const auto arguments = message.arguments();
  if (message.service() != busService || arguments.size() != 3 || arguments.at(0).toString() != name_) return;
  setOwner(arguments.at(2).toString());
}

void BusService::setOwner(const QString& owner) {
  if (owner == owner_) return;
  if (isPresent()) ownerGone();
  if (owner.isEmpty()) return;
  owner_ = owner;
  logger_.info("found {}", name());
  for (auto* listener : listeners_) connectTo(*listener);
  appeared.emit();
}

void BusService::ownerGone() {
  for (auto* listener : listeners_) disconnectFrom(*listener);
  owner_.clear();
  isSilent_ = false;
  silenceRetry_.cancel();
  logger_.info("lost {}, waiting for it", name());
  isAbsenceLogged_ = true;
  absent.emit();
}

Subscription BusService::listen(const QString& path, const QString& interface, const QString& member, Handler handler) {
  auto* listener = new BusListener(this, path, interface, member, std::move(handler));
  listeners_.push_back(listener);
  connectTo(*listener);
  return Subscription([this, listener = QPointer(listener)] {
    if (!listener) return;  // gone with this
    std::erase(listeners_, listener);
    disconnectFrom(*listener);
    listener->end();
  });
}

void BusService::connectTo(BusListener& listener) {
  if (!isPresent() || !bus_.isConnected()) return;
  bus_.connection().connect(owner_, listener.path, listener.interface, listener.member, &listener,
                            SLOT(signalled(QDBusMessage)));
}

void BusService::disconnectFrom(BusListener& listener) {
  if (!isPresent() || !bus_.isConnected()) return;
  bus_.connection().disconnect(owner_, listener.path, listener.interface, listener.member, &listener,
                               SLOT(signalled(QDBusMessage)));
}

void BusService::call(const QString& path, const QString& interface, const QString& method,
                      const QVariantList& arguments, Handler answer) {
  if (!isPresent() || !bus_.isConnected()) return;
  // To the instance that is there: its name would start the service anew should it end now.
  auto message = QDBusMessage::createMethodCall(owner_, path, interface, method);
  message.setArguments(arguments);
  const auto pending = bus_.connection().asyncCall(message, static_cast<int>(answerLimit.count()));
  auto* watcher = new QDBusPendingCallWatcher(pending, this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this,
          [this, watcher, owner = owner_, answer = std::move(answer)] {
            watcher->deleteLater();
            if (owner != owner_) return;
            noteAnswer(watcher->reply());
            answer(watcher->reply());
          });
}

void BusService::noteAnswer(const QDBusMessage& reply) {
  const auto isSilent = QDBusError(reply).type() == QDBusError::NoReply;
  if (isSilent) silenceRetry_ = mainQueue_.after(silenceRetryInterval, [this] { appeared.emit(); });
  if (isSilent == std::exchange(isSilent_, isSilent)) return;
  isSilent ? logger_.error("{} does not answer", name()) : logger_.info("{} answers again", name());
}

}  // namespace zolvex

#include "BusService.moc"
