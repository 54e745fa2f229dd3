#include <QApplication>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <gtest/gtest.h>

/// Main of tests with windows that nobody sees.
int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");  // no desktop: the windows look as by default
  QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
  QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
