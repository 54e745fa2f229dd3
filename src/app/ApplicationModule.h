#pragma once

namespace zolvex {

/// Loads the application, a module that lies beside the program or in its library directory, and runs it: loading Qt
/// takes longer than a worker's whole run, so only application mode pays for it. Returns the application's exit status,
/// or 1 with a message when the module cannot be loaded.
int runApplicationModule(int argc, char** argv);

}  // namespace zolvex
