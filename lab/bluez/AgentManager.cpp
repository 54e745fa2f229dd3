#include "lab/bluez/AgentManager.h"

#include "lab/bluez/BluezErrors.h"

#include <QDBusObjectPath>

namespace zolvex::lab {

using namespace Qt::StringLiterals;

namespace {

const QStringList capabilities{u"DisplayOnly"_s, u"DisplayYesNo"_s, u"KeyboardOnly"_s, u"NoInputNoOutput"_s,
                               u"KeyboardDisplay"_s};

QString pathArgument(const BusCall& call) {
  return call.arguments().value(0).value<QDBusObjectPath>().path();
}

}  // namespace

bool AgentManager::Agent::canShow() const {
  return capability.contains(u"Display"_s);
}

bool AgentManager::Agent::canConfirm() const {
  return capability == u"DisplayYesNo"_s || capability == u"KeyboardDisplay"_s;
}

bool AgentManager::Agent::canType() const {
  return capability.contains(u"Keyboard"_s);
}

AgentManager::AgentManager(BluezHost& host) {
  connect(&host.tree, &BusTree::clientLeft, this, &AgentManager::forget);
}

QString AgentManager::path() {
  return u"/org/bluez"_s;
}

QString AgentManager::name() const {
  return u"org.bluez.AgentManager1"_s;
}

std::optional<AgentManager::Agent> AgentManager::agentFor(const QString& client) const {
  if (const auto own = agents_.find(client); own != agents_.end()) return *own;
  if (const auto standard = agents_.find(defaultClient_); standard != agents_.end()) return *standard;
  return std::nullopt;
}

bool AgentManager::handle(const BusCall& call) {
  if (call.member() == u"RegisterAgent"_s && call.signature() == u"os"_s) return registerAgent(call), true;
  if (call.member() == u"UnregisterAgent"_s && call.signature() == u"o"_s) return unregisterAgent(call), true;
  if (call.member() == u"RequestDefaultAgent"_s && call.signature() == u"o"_s) return requestDefault(call), true;
  return false;
}

void AgentManager::registerAgent(const BusCall& call) {
  if (agents_.contains(call.sender())) return fail(call, bluezError::alreadyExists);
  auto capability = call.arguments().value(1).toString();
  if (capability.isEmpty()) capability = u"KeyboardDisplay"_s;
  if (!capabilities.contains(capability)) return fail(call, bluezError::invalidArguments);
  agents_.insert(call.sender(), {call.sender(), pathArgument(call), capability});
  call.reply();
}

void AgentManager::unregisterAgent(const BusCall& call) {
  if (!hasAgent(call.sender(), pathArgument(call))) return fail(call, bluezError::doesNotExist);
  forget(call.sender());
  call.reply();
}

void AgentManager::requestDefault(const BusCall& call) {
  if (!hasAgent(call.sender(), pathArgument(call))) return fail(call, bluezError::doesNotExist);
  defaultClient_ = call.sender();
  call.reply();
}

bool AgentManager::hasAgent(const QString& client, const QString& path) const {
  const auto found = agents_.find(client);
  return found != agents_.end() && found->path == path;
}

void AgentManager::forget(const QString& client) {
  agents_.remove(client);
  if (defaultClient_ == client) defaultClient_.clear();
}

QString AgentManager::introspection() const {
  return QStringLiteral(
      R"(<method name="RegisterAgent"><arg name="agent" type="o" direction="in"/><arg name="capability" type="s" direction="in"/></method>
<method name="UnregisterAgent"><arg name="agent" type="o" direction="in"/></method>
<method name="RequestDefaultAgent"><arg name="agent" type="o" direction="in"/></method>
)");
}

}  // namespace zolvex::lab
