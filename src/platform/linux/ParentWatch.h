#pragma once

namespace zolvex {

/// From now on this process ends, at once and without clean-up, when the thread that has started it ends: for a process
/// that works for that thread alone, which waits for it, and may block for long.
void endWithParent();

}  // namespace zolvex
