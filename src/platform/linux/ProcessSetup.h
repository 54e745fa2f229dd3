#pragma once

namespace zolvex {

/// Makes this process what the application and the worker rely on, whatever the program that has started it left
/// behind: each standard stream is open, on /dev/null where it was closed, so that no file takes its number and gets
/// the log lines; SIGCHLD is not ignored, which would lose the exit statuses of all children; writing to a pipe without
/// a reader is an error instead of a death. Child programs start with the default actions. The first thing that either
/// does, before it opens or logs anything.
void setUpProcess();

}  // namespace zolvex
