#pragma once

namespace zolvex {

/// Application mode: runs in the background until SIGTERM or SIGINT, or SIGHUP where it is not ignored. Returns the
/// exit status: 0 after an orderly end, 1 when this user's Zolvex runs already, 2 for arguments that it does not know.
int runApplication(int argc, char** argv);

}  // namespace zolvex
