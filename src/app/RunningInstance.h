#pragma once

namespace zolvex {

/// Asks this user's running Zolvex over the session bus to show its windows. False when there is none on the bus, it
/// has no windows, or it does not answer in time. Needs a QCoreApplication; blocks for some seconds at most.
bool showRunningInstance();

}  // namespace zolvex
