#pragma once

#include "peer/DeviceCommand.h"

namespace zolvex {

/// The way back to a requester. Dropping it without a reply ends the request unanswered. Main thread.
class ReplyChannel {
 public:
  virtual ~ReplyChannel() = default;

  /// Only the first reply counts.
  virtual void reply(DeviceCommand command) = 0;
};

}  // namespace zolvex
