#pragma once

namespace zolvex {

/// Tells the user that the devices have moved. Never fails loudly. Main thread.
class OwnershipNotifier {
 public:
  virtual ~OwnershipNotifier() = default;

  virtual void notifyDevicesMovedHere() = 0;
  virtual void notifySomeDevicesMovedHere() = 0;
  virtual void notifyDevicesMovedToPeer() = 0;
};

}  // namespace zolvex
