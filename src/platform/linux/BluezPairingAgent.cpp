#include "platform/linux/BluezPairingAgent.h"

#include "platform/linux/PasskeyNotification.h"

#include <QDBusObjectPath>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

const auto agentPath = u"/quenmar/zolvex/agent"_s;
const auto agentInterface = u"org.bluez.Agent1"_s;

constexpr int passkeyDigits = 6;

QString literalOf(BluezPairingAgent::Capability capability) {
  return capability == BluezPairingAgent::Capability::noInputNoOutput ? u"NoInputNoOutput"_s : u"KeyboardDisplay"_s;
}

QString digitsOf(const QVariant& passkey) {
  return QString::number(passkey.toUInt()).rightJustified(passkeyDigits, u'0');
}

}  // namespace

BluezPairingAgent::BluezPairingAgent(const BluezBus& bus, const BluezDevice& device, Capability capability)
    : bus_(bus), device_(device), capability_(capability) {}

BluezPairingAgent::~BluezPairingAgent() {
  const auto path = QVariant::fromValue(QDBusObjectPath(agentPath));
  bus_.tell(bluez::rootPath, bluez::agentManagerInterface, u"UnregisterAgent"_s, {path});
  auto connection = bus_.connection();
  connection.unregisterObject(agentPath);
}

QDBusMessage BluezPairingAgent::registerAtDaemon() {
  daemon_ = bus_.owner();
  auto connection = bus_.connection();
  connection.registerVirtualObject(agentPath, this);
  return bus_.call(bluez::rootPath, bluez::agentManagerInterface, u"RegisterAgent"_s,
                   {QVariant::fromValue(QDBusObjectPath(agentPath)), literalOf(capability_)});
}

QString BluezPairingAgent::introspect(const QString&) const {
  return {};
}

bool BluezPairingAgent::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
  if (message.type() != QDBusMessage::MethodCallMessage || message.interface() != agentInterface) return false;
  const auto answer = answerTo(message);
  if (message.isReplyRequired()) connection.send(answer);
  return true;
}

QDBusMessage BluezPairingAgent::answerTo(const QDBusMessage& question) {
  const auto member = question.member();
  if (member == "Release"_L1 || member == "Cancel"_L1) return question.createReply();
  const bool shows = member == "DisplayPasskey"_L1 || member == "DisplayPinCode"_L1;
  // Whoever asked for the connection has agreed to it, and there is nobody to ask again.
  const bool agrees =
      member == "RequestConfirmation"_L1 || member == "RequestAuthorization"_L1 || member == "AuthorizeService"_L1;
  if (!concernsUs(question) || !(shows || agrees))
    return question.createErrorReply(u"org.bluez.Error.Rejected"_s, u"Not for this agent"_s);
  const auto code = question.arguments().value(1);
  if (shows) show(member == "DisplayPasskey"_L1 ? digitsOf(code) : code.toString());
  return question.createReply();
}

bool BluezPairingAgent::concernsUs(const QDBusMessage& question) const {
  return question.service() == daemon_ && question.arguments().value(0).value<QDBusObjectPath>().path() == device_.path;
}

void BluezPairingAgent::show(const QString& passkey) {
  // BlueZ tells the passkey again with each digit that is typed.
  if (std::exchange(shown_, passkey) != passkey)
    showPasskeyNotification(device_.name.value_or(device_.address), passkey);
}

}  // namespace zolvex
