#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zolvex {

/// Status numbers of openConnection(), as the platform that defined the worker's output numbers them (IOReturn).
namespace ioReturn {
inline constexpr std::int32_t success = 0;
inline constexpr std::int32_t error = -536870212;
inline constexpr std::int32_t noDevice = -536870208;
inline constexpr std::int32_t busy = -536870187;
inline constexpr std::int32_t timeout = -536870186;
inline constexpr std::int32_t notPermitted = -536870174;
inline constexpr std::int32_t aborted = -536870165;
}  // namespace ioReturn

/// RSSI of a device of which there is no reading.
inline constexpr int noRssiReading = 127;

/// One Bluetooth Classic device. Calls block until the system has answered.
class BluetoothClassicDevice {
 public:
  virtual ~BluetoothClassicDevice() = default;

  virtual bool isConnected() = 0;

  /// dBm, or noRssiReading.
  virtual int rssi() = 0;

  /// Pairs if need be and connects. An ioReturn status.
  virtual std::int32_t openConnection() = 0;

  /// Removes the pairing; false when this system cannot.
  virtual bool removePairing() = 0;
};

/// What the worker needs of a Bluetooth Classic stack. Calls block until the system has answered.
class BluetoothClassicController {
 public:
  struct PairedDevice {
    std::string address;
    std::optional<std::string> name;
    bool isConnected = false;
  };

  /// How far to look for a device.
  enum class Lookup {
    known,    ///< Only among the devices that the system knows.
    inRange,  ///< Those, then the ones that can be discovered now (takes some seconds).
  };

  /// The answer to a lookup.
  struct Found {
    bool isPoweredOn = false;  ///< False also when there is no controller, or the system cannot say.
    std::unique_ptr<BluetoothClassicDevice> device = nullptr;
  };

  virtual ~BluetoothClassicController() = default;

  /// No device when none has that address, in particular when it is no address. Power and device are read at the same
  /// moment: no device, with the power on, means that the system does not know it, never that it could not be asked.
  virtual Found deviceWithAddress(const std::string& address, Lookup lookup) = 0;

  /// Empty when the system cannot say.
  virtual std::vector<PairedDevice> pairedDevices() = 0;
};

}  // namespace zolvex
