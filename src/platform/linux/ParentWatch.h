#pragma once

namespace zolvex {

/// From now on this process ends, at once and without clean-up, when the process that has started it ends: for a
/// process that works for that one alone, and may block for long. Takes SIGUSR1 for this.
void endWithParent();

}  // namespace zolvex
