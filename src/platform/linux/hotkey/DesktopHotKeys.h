#pragma once

#include "core/MainQueue.h"
#include "platform/linux/DisplayServer.h"
#include "ui/HotKeys.h"

#include <memory>

namespace zolvex {

class BusLink;

/// Hot keys as the user's display server has them: grabbed from an X server, asked of the portal on Wayland. Without a
/// display they wait for ever. Before `sessionBus` is started, which must outlive the result.
std::unique_ptr<HotKeys> hotKeysOf(const DisplayServer& displayServer, MainQueue& mainQueue, BusLink& sessionBus);

}  // namespace zolvex
