#pragma once

#include "support/EventLoop.h"
#include "support/FakeHotKeys.h"
#include "support/FakeLaunchAtLogin.h"
#include "support/World.h"
#include "ui/GlobalHotKey.h"
#include "ui/qt/Appearance.h"
#include "ui/qt/Popover.h"
#include "ui/qt/PopoverModel.h"

#include <QQuickItem>
#include <QQuickWindow>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace zolvex::test {

/// Fails the current test for every warning of Qt, QML's among them, while it lives.
class QtWarnings {
 public:
  QtWarnings();
  ~QtWarnings();
  QtWarnings(const QtWarnings&) = delete;
};

/// A computer on virtual time with real windows that nobody sees.
class UiWorld {
 public:
  explicit UiWorld(const std::vector<std::string>& devices = {"Magic Keyboard", "Magic Trackpad"}, bool hasPeer = true);

  UserInterfaceObjects objects();

  /// Lets the rules settle, and the windows show what came of it.
  void settle();

  /// Opens the popover as a window and waits for its first picture.
  void open() { open(std::nullopt); }

  /// The same beside an icon.
  void openAt(const QRect& icon) { open(icon); }
  QQuickWindow& window() { return *popover.window(); }

  /// The visible item of this name; fails the test when there is none.
  QQuickItem* item(const QString& name);
  bool isVisible(const QString& name);
  QString text(const QString& name) { return item(name)->property("text").toString(); }
  void click(const QString& name);
  void press(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);

  /// The key is still down, and the keyboard says so again.
  void repeat(int key);

  /// Of all visible items of the window.
  std::vector<QQuickItem*> items();

  /// Where it is in the window.
  static QRectF area(const QQuickItem& item);

  /// Of the popover, which must have been opened.
  Appearance* appearance();
  QObject* theme() { return singleton("Theme"); }

  QtWarnings warnings;
  World world;
  FakeLaunchAtLogin launchAtLogin;
  std::function<void(const std::vector<PairedDevicePayload>&)> scanAnswer;  ///< Of the last scan that was asked for.
  int scans = 0;
  int quits = 0;
  int uninstalls = 0;
  FakeHotKeys hotKeys;
  GlobalHotKey hotKey{{world.time, world.defaults, hotKeys, world.manager()}};  ///< Not started.
  PopoverModel model{objects()};
  Popover popover{model};

 private:
  void open(const std::optional<QRect>& anchor);
  QObject* singleton(const QByteArray& name);
};

NetworkDevice peerNamed(const std::string& id, const std::string& name, Date now);

}  // namespace zolvex::test
