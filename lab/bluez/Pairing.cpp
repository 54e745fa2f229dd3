#include "lab/bluez/Pairing.h"

#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>

namespace zolvex::lab {

using namespace Qt::StringLiterals;

namespace {

constexpr quint32 passkey = 123456;

}  // namespace

Pairing::Pairing(BluezHost& host, AgentManager& agents, QString address, BusCall call)
    : host_(host), agents_(agents), address_(std::move(address)), call_(std::move(call)) {
  connect(&host.tree, &BusTree::clientLeft, this, [this](const QString& client) {
    if (client == call_.sender()) cancel();
  });
}

void Pairing::start() {
  if (host_.diesOf(address_) || host_.suffers(FaultKind::hangsOnPair, address_)) return;
  BluezHost::after(host_.latency(address_), this, [this] { tryBond(false); });
}

void Pairing::tryBond(bool withPasskey) {
  if (!host_.isPowered()) return failWith(bluezError::notReady);
  if (host_.radio.isReachable(host_.identity.computer, address_)) Q_EMIT reached();
  switch (host_.radio.bond(host_.identity.computer, address_, withPasskey)) {
    case RadioAnswer::accepted:
      call_.reply();
      return finish();
    case RadioAnswer::passkeyWanted:
      return askAgent();
    case RadioAnswer::refused:
    case RadioAnswer::bondRefused:
      return failWith(bluezError::authenticationFailed);
    case RadioAnswer::unreachable:
    case RadioAnswer::missed:
      Q_EMIT notReached();
      return failWith(bluezError::attemptFailed);
  }
}

// A keyboard has the passkey typed on it; anything else can only have it confirmed.
void Pairing::askAgent() {
  askedAgent_ = agents_.agentFor(call_.sender());
  const auto device = QVariant::fromValue(QDBusObjectPath(call_.path()));
  const auto* known = host_.radio.device(address_);
  const auto isKeyboard = known && known->icon == u"input-keyboard"_s;
  if (askedAgent_ && isKeyboard && askedAgent_->canShow())
    return callAgent(u"DisplayPasskey"_s, {device, passkey, QVariant::fromValue<quint16>(0)}, true);
  if (askedAgent_ && askedAgent_->canConfirm()) return callAgent(u"RequestConfirmation"_s, {device, passkey}, false);
  if (askedAgent_ && askedAgent_->canType()) return callAgent(u"RequestPasskey"_s, {device}, false);
  askedAgent_.reset();
  failWith(bluezError::authenticationFailed);
}

void Pairing::callAgent(const QString& member, const QVariantList& arguments, bool typingFollows) {
  auto message = QDBusMessage::createMethodCall(askedAgent_->client, askedAgent_->path, u"org.bluez.Agent1"_s, member);
  message.setArguments(arguments);
  auto* watcher = new QDBusPendingCallWatcher(host_.tree.connection().asyncCall(message), this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, typingFollows] {
    watcher->deleteLater();
    askedAgent_.reset();
    if (call_.isAnswered()) return;
    if (watcher->isError()) return onAgentRefused(watcher->error().name());
    if (!typingFollows) return tryBond(true);
    BluezHost::after(host_.latency(address_), this, [this] { tryBond(true); });
  });
}

void Pairing::onAgentRefused(const QString& errorName) {
  auto error = bluezError::authenticationFailed;
  if (errorName == u"org.bluez.Error.Rejected"_s) error = bluezError::authenticationRejected;
  if (errorName == u"org.bluez.Error.Canceled"_s) error = bluezError::authenticationCanceled;
  failWith(error);
}

void Pairing::cancel() {
  if (askedAgent_) {
    const auto cancel =
        QDBusMessage::createMethodCall(askedAgent_->client, askedAgent_->path, u"org.bluez.Agent1"_s, u"Cancel"_s);
    host_.tree.connection().send(cancel);
  }
  failWith(bluezError::authenticationCanceled);
}

void Pairing::failWith(const bluezError::Error& error) {
  fail(call_, error);
  finish();
}

void Pairing::finish() {
  Q_EMIT finished();
}

}  // namespace zolvex::lab
