#include "platform/linux/BluezPairingAgent.h"

#include <cstdint>
#include <string_view>
#include <utility>

namespace zolvex {

namespace {

constexpr auto agentPath = "/quenmar/zolvex/agent";
constexpr auto agentInterface = "org.bluez.Agent1";

const char* literalOf(BluezPairingAgent::Capability capability) {
  return capability == BluezPairingAgent::Capability::noInputNoOutput ? "NoInputNoOutput" : "KeyboardDisplay";
}

/// The code that comes with a request to show one: a text, or a number of six digits.
std::string codeIn(sd_bus_message* question) {
  constexpr std::size_t passkeyDigits = 6;
  sd_bus_message_rewind(question, 1);
  sd_bus_message_skip(question, "o");
  const char* text = nullptr;
  if (sd_bus_message_read_basic(question, SD_BUS_TYPE_STRING, &text) > 0) return text;
  std::uint32_t number = 0;
  sd_bus_message_read_basic(question, SD_BUS_TYPE_UINT32, &number);
  const auto digits = std::to_string(number);
  return digits.size() < passkeyDigits ? std::string(passkeyDigits - digits.size(), '0') + digits : digits;
}

}  // namespace

BluezPairingAgent::BluezPairingAgent(const BluezBus& bus, const BluezDevice& device, Capability capability)
    : bus_(bus), device_(device), capability_(capability) {}

BluezPairingAgent::~BluezPairingAgent() {
  bus_.tell(bus_.message(bluez::rootPath, bluez::agentManagerInterface, "UnregisterAgent", "o", agentPath));
}

BluezAnswer BluezPairingAgent::registerAtDaemon() {
  daemon_ = bus_.owner();
  const auto handler = [](sd_bus_message* message, void* agent, sd_bus_error*) {
    return static_cast<BluezPairingAgent*>(agent)->answer(message);
  };
  sd_bus_slot* slot = nullptr;
  if (bus_.handle() && sd_bus_add_object(bus_.handle(), &slot, agentPath, handler, this) >= 0) object_.reset(slot);
  return bus_.call(bus_.message(bluez::rootPath, bluez::agentManagerInterface, "RegisterAgent", "os", agentPath,
                                literalOf(capability_)));
}

int BluezPairingAgent::answer(sd_bus_message* question) {
  const auto is = [question](const char* member) {
    return sd_bus_message_is_method_call(question, agentInterface, member) > 0;
  };
  if (is("Release") || is("Cancel")) return sd_bus_reply_method_return(question, "");
  const bool shows = is("DisplayPasskey") || is("DisplayPinCode");
  // Whoever asked for the connection has agreed to it, and there is nobody to ask again.
  const bool agrees = is("RequestConfirmation") || is("RequestAuthorization") || is("AuthorizeService");
  if (!concernsUs(question) || !(shows || agrees))
    return sd_bus_reply_method_errorf(question, "org.bluez.Error.Rejected", "Not for this agent");
  if (shows) show(codeIn(question));
  return sd_bus_reply_method_return(question, "");
}

bool BluezPairingAgent::concernsUs(sd_bus_message* question) const {
  const char* sender = sd_bus_message_get_sender(question);
  const char* path = nullptr;
  return sender && sender == daemon_ && sd_bus_message_read_basic(question, SD_BUS_TYPE_OBJECT_PATH, &path) > 0 &&
         path == device_.path;
}

void BluezPairingAgent::show(const std::string& passkey) {
  // BlueZ tells the passkey again with each digit that is typed.
  if (std::exchange(shown_, passkey) != passkey) notification_.show(device_.name.value_or(device_.address), passkey);
}

}  // namespace zolvex
