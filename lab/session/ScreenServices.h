#pragma once

#include "lab/bus/ServiceConnection.h"
#include "lab/session/Screen.h"

#include <QObject>

#include <memory>

namespace zolvex::lab {

/// What a desktop offers on the session bus for its screen: org.gnome.ScreenSaver, org.freedesktop.ScreenSaver (at the
/// path of the standard and at KDE's), and of org.gnome.Mutter.DisplayConfig the power saving. Owned by the computer's
/// session.
class ScreenServices : public QObject {
 public:
  explicit ScreenServices(Screen& screen);

  /// False when the bus is not there.
  bool start(const QString& busAddress);
  void stop() { connection_.reset(); }

 private:
  void tellActive(bool active);

  Screen& screen_;
  std::unique_ptr<ServiceConnection> connection_;
};

}  // namespace zolvex::lab
