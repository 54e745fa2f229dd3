#include "app/ApplicationModule.h"

#include "app/ApplicationEntry.h"

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>

namespace zolvex {

namespace {

int cannotLoad() {
  std::fprintf(stderr, "zolvex: cannot load the application: %s\nzolvex: reinstall Zolvex, or build all of it\n",
               dlerror());
  return EXIT_FAILURE;
}

}  // namespace

int runApplicationModule(int argc, char** argv) {
  void* module = dlopen(ZOLVEX_APPLICATION_MODULE, RTLD_NOW | RTLD_LOCAL);  // for good
  if (!module) return cannotLoad();
  const auto run = reinterpret_cast<ApplicationEntry*>(dlsym(module, applicationEntryName));
  return run ? run(argc, argv) : cannotLoad();
}

}  // namespace zolvex
