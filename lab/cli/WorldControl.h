#pragma once

#include "lab/cli/Options.h"

namespace zolvex::lab {

/// Has an act done on a computer of a world that stays, waits until it is done, prints what happened, and returns the
/// exit status: 0 when it was done, 1 when it was refused or there is no such world.
int controlWorld(const Options& options);

}  // namespace zolvex::lab
