#include "platform/linux/BluezAnswer.h"

#include "bluetooth/worker/BluetoothClassicController.h"

#include <array>
#include <string_view>

namespace zolvex {

namespace {

struct Meaning {
  std::string_view text;
  std::int32_t status;
};

constexpr std::array meaningsOfNames{
    Meaning{"org.bluez.Error.InProgress", ioReturn::busy},
    Meaning{"org.bluez.Error.AuthenticationTimeout", ioReturn::timeout},
    Meaning{"org.bluez.Error.ConnectionAttemptFailed", ioReturn::timeout},
    Meaning{SD_BUS_ERROR_NO_REPLY, ioReturn::timeout},
    Meaning{SD_BUS_ERROR_TIMEOUT, ioReturn::timeout},
    Meaning{"org.bluez.Error.AuthenticationFailed", ioReturn::notPermitted},
    Meaning{"org.bluez.Error.AuthenticationRejected", ioReturn::notPermitted},
    Meaning{"org.bluez.Error.NotAuthorized", ioReturn::notPermitted},
    Meaning{"org.bluez.Error.NotPermitted", ioReturn::notPermitted},
    Meaning{SD_BUS_ERROR_ACCESS_DENIED, ioReturn::notPermitted},
    Meaning{"org.bluez.Error.AuthenticationCanceled", ioReturn::aborted},
    Meaning{"org.bluez.Error.DoesNotExist", ioReturn::noDevice},
    Meaning{"org.bluez.Error.NotReady", ioReturn::noDevice},
    Meaning{SD_BUS_ERROR_UNKNOWN_OBJECT, ioReturn::noDevice},
    Meaning{SD_BUS_ERROR_UNKNOWN_METHOD, ioReturn::noDevice},
    Meaning{SD_BUS_ERROR_UNKNOWN_INTERFACE, ioReturn::noDevice},
    Meaning{SD_BUS_ERROR_SERVICE_UNKNOWN, ioReturn::noDevice},
    Meaning{SD_BUS_ERROR_NAME_HAS_NO_OWNER, ioReturn::noDevice},
    Meaning{SD_BUS_ERROR_DISCONNECTED, ioReturn::noDevice},
};

/// What BlueZ tells apart only in the text of its general errors.
constexpr std::array meaningsOfTexts{
    Meaning{"timeout", ioReturn::timeout},   // br-connection-page-timeout and the like
    Meaning{"busy", ioReturn::busy},         // br-connection-busy
    Meaning{"canceled", ioReturn::aborted},  // br-connection-canceled
    Meaning{"aborted", ioReturn::aborted},   // br-connection-aborted-by-remote, -by-local
};

}  // namespace

BluezAnswer BluezAnswer::fromMessage(sd_bus_message* message) {
  if (sd_bus_message_is_method_error(message, nullptr)) return fromError(*sd_bus_message_get_error(message));
  return {.reply = SdBusMessage(sd_bus_message_ref(message))};
}

BluezAnswer BluezAnswer::fromError(const sd_bus_error& error) {
  return {.errorName = error.name ? error.name : "", .errorText = error.message ? error.message : ""};
}

bool BluezAnswer::isMissing() const {
  return !reply && (errorName.empty() || errorName == SD_BUS_ERROR_NO_REPLY || errorName == SD_BUS_ERROR_TIMEOUT);
}

std::int32_t BluezAnswer::ioReturnStatus() const {
  if (isSuccess()) return ioReturn::success;
  if (errorName.empty()) return ioReturn::timeout;
  for (const auto& meaning : meaningsOfNames)
    if (errorName == meaning.text) return meaning.status;
  for (const auto& meaning : meaningsOfTexts)
    if (errorText.find(meaning.text) != std::string::npos) return meaning.status;
  return ioReturn::error;
}

}  // namespace zolvex
