#include "app/ApplicationModule.h"
#include "app/WorkerMode.h"
#include "bluetooth/BluetoothWorkerCommand.h"

#include <string>
#include <string_view>
#include <vector>

/// One executable, two modes: the first argument decides, before anything of the application exists.
int main(int argc, char** argv) {
  if (argc >= 2 && std::string_view(argv[1]) == zolvex::workerFlag)
    zolvex::runWorkerMode(std::vector<std::string>(argv + 2, argv + argc));
  return zolvex::runApplicationModule(argc, argv);
}
