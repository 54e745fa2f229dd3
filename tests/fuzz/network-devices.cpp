// Whatever the settings hold, the peer list is either refused or a list that survives being stored again.
#include "FuzzCheck.h"
#include "core/Text.h"
#include "peer/NetworkDevice.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace zolvex;
  const auto decoded = decodeNetworkDevices(fuzzText(data, size));
  if (const auto* error = std::get_if<NetworkDevicesError>(&decoded)) {
    fuzzCheck(!error->description.empty() && isUtf8(error->description), "a refusal can be logged");
    return 0;
  }
  const auto& devices = std::get<std::vector<NetworkDevice>>(decoded);
  const auto encoded = encodeNetworkDevices(devices);
  fuzzCheck(encoded.has_value() && isUtf8(*encoded), "what was read can be written");
  const auto again = decodeNetworkDevices(*encoded);
  const auto* same = std::get_if<std::vector<NetworkDevice>>(&again);
  fuzzCheck(same != nullptr, "what was written can be read");
  fuzzCheck(*same == devices, "and says the same");
  fuzzCheck(encodeNetworkDevices(*same) == encoded, "to the letter");
  return 0;
}
