#include <QCoreApplication>
#include <gtest/gtest.h>

/// Main of test programs that need an event loop.
int main(int argc, char** argv) {
  QCoreApplication application(argc, argv);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
