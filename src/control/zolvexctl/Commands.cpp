#include "control/zolvexctl/Commands.h"

#include "control/ControlNames.h"
#include "control/ControlTypes.h"
#include "control/zolvexctl/ExitStatus.h"
#include "control/zolvexctl/FlowWait.h"
#include "control/zolvexctl/Report.h"
#include "control/zolvexctl/SettingValue.h"

#include <QCoreApplication>
#include <QDBusVariant>
#include <fmt/core.h>

#include <cstdio>
#include <map>

using namespace Qt::Literals::StringLiterals;

namespace zolvex::control {

namespace {

using Failure = ZolvexClient::Failure;

/// Status text of a flow that was cancelled, whatever it had reached by then.
const auto cancelled = u"Cancelled"_s;

void print(const std::string& text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fflush(stdout);
}

/// Everything printed so far could be written; otherwise main() says so.
bool isOutputWritten() {
  return std::ferror(stdout) == 0;
}

/// From within the event loop.
void printOrEnd(const std::string& text) {
  print(text);
  if (!isOutputWritten()) QCoreApplication::exit(exitStatus::endedBadly);
}

void complain(const std::string& text) {
  std::fputs(("zolvexctl: " + text + "\n").c_str(), stderr);
}

/// What to do about a refusal.
std::string hintFor(const QString& errorName) {
  if (errorName == error::busy) return "\nFollow it with \"zolvexctl watch\", or stop it with \"zolvexctl cancel\".";
  if (errorName == error::incompleteSetup) return "\nSee \"zolvexctl peers\", then \"zolvexctl add-peer ID\".";
  if (errorName == error::unknownDevice) return "\nPair it first; \"zolvexctl devices\" lists the paired devices.";
  if (errorName == error::unknownPeer)
    return "\nIs Zolvex running there, with the same transport? See \"zolvexctl peers\".";
  return "";
}

QString qString(const std::string& text) {
  return QString::fromStdString(text);
}

}  // namespace

int Commands::run(const Invocation& invocation) {
  static const std::map<std::string_view, int (Commands::*)()> table{
      {"status", &Commands::status},       {"switch", &Commands::flow},
      {"quick-connect", &Commands::flow},  {"release", &Commands::flow},
      {"cancel", &Commands::cancel},       {"devices", &Commands::devices},
      {"manage", &Commands::manage},       {"peers", &Commands::peers},
      {"add-peer", &Commands::addPeer},    {"remove-peer", &Commands::removePeer},
      {"transport", &Commands::transport}, {"settings", &Commands::settings},
      {"watch", &Commands::watch},         {"show", &Commands::show},
  };
  registerTypes();
  invocation_ = invocation;
  return (this->*table.at(invocation.command->name))();
}

int Commands::status() {
  if (invocation_.refresh) {
    const auto refreshed = client_.call(u"Refresh"_s);
    if (const auto* failure = std::get_if<Failure>(&refreshed)) return fail(*failure);
  }
  const auto state = client_.state();
  if (const auto* failure = std::get_if<Failure>(&state)) return fail(*failure);
  const auto& values = std::get<QVariantMap>(state);
  print(invocation_.json ? report::statusJson(values) : report::status(values));
  return exitStatus::done;
}

int Commands::show() {
  return simple(u"Show"_s, {}, "");
}

int Commands::flow() {
  if (invocation_.wait) return waitForFlow();
  const auto started = startFlow();
  if (const auto* failure = std::get_if<Failure>(&started)) return fail(*failure);
  const auto state = client_.state();
  if (const auto* failure = std::get_if<Failure>(&state)) return fail(*failure);
  const auto& values = std::get<QVariantMap>(state);
  if (!values[u"IsSwitching"_s].toBool()) return outcome(values);
  print(invocation_.json ? report::statusJson(values) : report::shown(values[u"LastResult"_s].toString()) + "\n");
  return exitStatus::done;
}

ZolvexClient::Result Commands::startFlow() {
  if (invocation_.command->name == "release") return client_.call(u"Release"_s);
  const bool asksPeer = invocation_.command->name == "switch";
  return client_.call(asksPeer ? u"ConnectToThisMac"_s : u"ForceConnect"_s, {invocation_.missing});
}

int Commands::waitForFlow() {
  FlowWait flow(client_, [this](const QString& text) {
    if (!invocation_.json) print(report::shown(text) + "\n");
  });
  const auto started = startFlow();
  if (const auto* failure = std::get_if<Failure>(&started)) return fail(*failure);
  const std::chrono::duration<double> limit(invocation_.waitSeconds);
  switch (flow.wait(std::chrono::duration_cast<std::chrono::milliseconds>(limit))) {
    case FlowWait::End::reached:
      return outcome(flow.state());
    case FlowWait::End::failed:
      return fail(flow.failure());
    case FlowWait::End::timedOut:
      break;
  }
  complain(fmt::format("It has not ended after {} s. Follow it with: zolvexctl watch", invocation_.waitSeconds));
  return exitStatus::endedBadly;
}

int Commands::outcome(const QVariantMap& state) const {
  const auto ownership = state[u"OwnershipState"_s].toString();
  const auto result = report::shown(state[u"LastResult"_s].toString());
  print(invocation_.json ? report::statusJson(state) : fmt::format("{}: {}\n", ownership.toStdString(), result));
  if (isGoalReached(ownership) && state[u"LastResult"_s] != cancelled) return exitStatus::done;
  if (ownership == "unknown"_L1)
    complain("Choose the devices first: zolvexctl devices, then zolvexctl manage ADDRESS...");
  return exitStatus::endedBadly;
}

bool Commands::isGoalReached(const QString& ownershipState) const {
  if (invocation_.command->name == "release") return ownershipState == "released"_L1 || ownershipState == "otherMac"_L1;
  return ownershipState == "thisMac"_L1 || ownershipState == "partiallyThisMac"_L1;
}

int Commands::cancel() {
  const auto result = client_.call(u"Cancel"_s);
  if (const auto* failure = std::get_if<Failure>(&result)) return fail(*failure);
  print(std::get<QVariantList>(result).value(0).toBool() ? "Cancelled\n" : "Nothing is running.\n");
  return exitStatus::done;
}

int Commands::devices() {
  const auto result = client_.call(u"PairedDevices"_s, {}, ZolvexClient::scanLimit);
  if (const auto* failure = std::get_if<Failure>(&result)) return fail(*failure);
  const auto devices = std::get<QVariantList>(result).value(0);
  print(invocation_.json ? report::pairedDevicesJson(devices) : report::pairedDevices(devices));
  return exitStatus::done;
}

int Commands::manage() {
  QStringList addresses;
  for (const auto& address : invocation_.arguments) addresses.append(qString(address));
  return simple(u"ManageDevices"_s, {addresses}, "The choice of devices is saved.\n", ZolvexClient::scanLimit);
}

int Commands::peers() {
  const auto state = client_.state();
  if (const auto* failure = std::get_if<Failure>(&state)) return fail(*failure);
  const auto& values = std::get<QVariantMap>(state);
  print(invocation_.json ? report::peersJson(values) : report::peers(values));
  return exitStatus::done;
}

int Commands::addPeer() {
  return simple(u"RegisterPeer"_s, {qString(invocation_.arguments[0])}, "The peer is added.\n");
}

int Commands::removePeer() {
  return simple(u"RemovePeer"_s, {}, "The peer is removed.\n");
}

int Commands::transport() {
  return simple(u"SetTransportMode"_s, {qString(invocation_.arguments[0])}, "The transport is set.\n");
}

int Commands::settings() {
  const auto found = allSettings();
  if (const auto* failure = std::get_if<Failure>(&found)) return fail(*failure);
  const auto& all = std::get<QVariantMap>(found);
  switch (invocation_.arguments.size()) {
    case 0:
      print(invocation_.json ? report::settingsJson(all) : report::settings(all));
      return exitStatus::done;
    case 1:
      return setting(all);
    default:
      return changeSetting(all);
  }
}

std::variant<QVariantMap, Failure> Commands::allSettings() {
  const auto result = client_.call(u"Settings"_s);
  if (const auto* failure = std::get_if<Failure>(&result)) return *failure;
  return qdbus_cast<QVariantMap>(std::get<QVariantList>(result).value(0));
}

int Commands::setting(const QVariantMap& all) {
  const auto value = all.value(qString(invocation_.arguments[0]));
  if (!value.isValid()) {
    complain("There is no setting of that name. See: zolvexctl settings");
    return exitStatus::usage;
  }
  print(invocation_.json ? report::settingJson(value) : report::settingText(value));
  return exitStatus::done;
}

int Commands::changeSetting(const QVariantMap& all) {
  const auto key = qString(invocation_.arguments[0]);
  // Zolvex judges it; what cannot be read as the setting's type goes there as a text.
  const auto value = settingValue(invocation_.arguments[1], all.value(key));
  const QVariantList arguments{key, QVariant::fromValue(QDBusVariant(value))};
  if (!invocation_.json) return simple(u"SetSetting"_s, arguments, "The setting is changed.\n");
  if (const int status = simple(u"SetSetting"_s, arguments, ""); status != exitStatus::done) return status;
  const auto changed = allSettings();
  if (const auto* failure = std::get_if<Failure>(&changed)) return fail(*failure);
  return setting(std::get<QVariantMap>(changed));
}

int Commands::watch() {
  client_.watch();
  const auto ended = client_.ended.observe([] { QCoreApplication::exit(exitStatus::notRunning); });
  const auto state = client_.state();
  if (const auto* failure = std::get_if<Failure>(&state)) return fail(*failure);
  const auto& values = std::get<QVariantMap>(state);
  print(invocation_.json ? report::statusJson(values) : report::status(values));
  if (!isOutputWritten()) return exitStatus::endedBadly;
  const auto changes = client_.assigned.observe([this](const QString& name, const QVariant& value) {
    printOrEnd(invocation_.json ? report::changeJson(name, value) : report::change(name, value));
  });
  const auto lines = client_.logged.observe([this](const QString& category, const QString& message) {
    printOrEnd(invocation_.json ? report::logLineJson(category, message) : report::logLine(category, message));
  });
  const int result = QCoreApplication::exec();
  if (result == exitStatus::notRunning) complain("Zolvex has ended.");
  return result;
}

int Commands::simple(const QString& method, const QVariantList& arguments, const std::string& text,
                     std::chrono::milliseconds limit) {
  const auto result = client_.call(method, arguments, limit);
  if (const auto* failure = std::get_if<Failure>(&result)) return fail(*failure);
  print(text);
  return exitStatus::done;
}

int Commands::fail(const Failure& failure) const {
  complain(report::shown(failure.text) + hintFor(failure.name));
  if (failure.isNotRunning) return exitStatus::notRunning;
  // Words that can never be right, in whichever state Zolvex is.
  const bool isMisuse = failure.name == error::unknownSetting || failure.name == error::invalidValue;
  return isMisuse ? exitStatus::usage : exitStatus::endedBadly;
}

}  // namespace zolvex::control
