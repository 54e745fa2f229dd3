#pragma once

namespace zolvex {

/// From now on this process ends, at once and without clean-up, when its parent process has ended: for a process that
/// works for its parent alone and may block for long. A thread of its own watches. Call it once.
void endWithParent();

}  // namespace zolvex
