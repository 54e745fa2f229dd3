// Whatever a worker prints, the list of paired devices is either refused or one that can be printed and read again.
#include "FuzzCheck.h"
#include "bluetooth/PairedDevicePayload.h"
#include "core/Text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace zolvex;
  const auto decoded = decodePairedDevices(fuzzText(data, size));
  if (const auto* error = std::get_if<PairedDevicesError>(&decoded)) {
    fuzzCheck(!error->description.empty() && isUtf8(error->description), "a refusal can be logged");
    return 0;
  }
  const auto& devices = std::get<std::vector<PairedDevicePayload>>(decoded);
  const auto encoded = encodePairedDevices(devices);
  fuzzCheck(encoded.has_value() && isUtf8(*encoded), "what was read can be written");
  fuzzCheck(encoded->find('\n') == std::string::npos, "on one line");
  const auto again = decodePairedDevices(*encoded);
  const auto* same = std::get_if<std::vector<PairedDevicePayload>>(&again);
  fuzzCheck(same != nullptr && *same == devices, "and says the same when read again");
  return 0;
}
