#pragma once

#include "lab/cli/Options.h"

namespace zolvex::lab {

/// Runs a program on a computer of a world that stays, with that computer's network, buses and directories, and returns
/// its exit status. Prints why when that is not possible. Must be called before anything of Qt exists.
int execInWorld(const Options& options);

}  // namespace zolvex::lab
