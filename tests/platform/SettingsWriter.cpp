#include "platform/linux/FileUserDefaults.h"
#include "platform/linux/QtMainQueue.h"

#include <QCoreApplication>

#include <cstdio>
#include <cstdlib>
#include <string>

using namespace zolvex;

/// "settings-writer FILE KEY TIMES" counts a setting up, and prints each number when it has been saved.
int main(int argc, char** argv) {
  QCoreApplication application(argc, argv);
  if (argc != 4) return EXIT_FAILURE;
  QtMainQueue queue;
  const std::string key = argv[2];
  for (int left = std::atoi(argv[3]); left > 0; --left) {
    FileUserDefaults defaults(queue, argv[1]);  // a new one each time, as only so many changes are saved at once
    const auto next = defaults.number(key).value_or(0) + 1;
    defaults.set(key, next);
    std::printf("%.0f\n", next);
    std::fflush(stdout);
  }
  return EXIT_SUCCESS;
}
