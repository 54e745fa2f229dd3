#include "app/ApplicationEntry.h"

#include "app/Application.h"

extern "C" __attribute__((visibility("default"))) int zolvexRunApplication(int argc, char** argv) {
  return zolvex::runApplication(argc, argv);
}
