#pragma once

#include "ownership/DeviceManager.h"

#include <cstddef>
#include <memory>
#include <string>
#include <utility>

// What the flows of DeviceManager hand from step to step. Included by its sources only.

namespace zolvex {

/// How one connect flow was started.
struct DeviceManager::ConnectFlow {
  bool connectMissing;  ///< Go on although some devices are here already.
  bool mayFallBack;     ///< A pass that connects nothing is followed by one more.
  Completion completion;
};

/// One round of connecting every device; finished once, by whatever comes first.
struct DeviceManager::ConnectPass {
  ConnectFlow flow;
  std::size_t devicesLeft;
  bool finished = false;
};

/// One removal of every pairing.
struct DeviceManager::Release {
  std::string reason = {};                     ///< What started it, for an automatic release; begins its status texts.
  std::shared_ptr<ReplyChannel> channel = {};  ///< Where the peer waits for the answer; null when nobody asked.
  std::size_t devicesLeft = 0;
  bool allRemoved = true;
};

/// `step`, made harmless once the manager is gone or its present flow is no longer the current one.
template <class Step>
auto DeviceManager::whileCurrent(Step step) {
  return lifetime_.guard([this, token = switchToken_, step = std::move(step)]<class... Args>(Args&&... args) mutable {
    if (isCurrent(token)) step(std::forward<Args>(args)...);
  });
}

}  // namespace zolvex
