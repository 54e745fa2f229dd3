#pragma once

namespace zolvex {

/// Runs the application until SIGTERM, SIGINT or an end by itself. Returns the exit status.
int runApplication(int argc, char** argv);

}  // namespace zolvex
