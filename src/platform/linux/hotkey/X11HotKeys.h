#pragma once

#include "core/MainQueue.h"
#include "platform/linux/BackgroundOpening.h"
#include "platform/linux/hotkey/X11Keyboard.h"
#include "ui/HotKeys.h"

#include <memory>
#include <string>

class QSocketNotifier;

namespace zolvex {

/// Hot keys of an X server: a key that is grabbed on the root window. There is a connection only while a hot key is
/// registered or asked for. It reads the keyboard's layout, grabs, and does so again when the layout changes. A server
/// that is not there, has gone or hangs is waited for; the main thread never waits.
/// Owned by the application. Main thread.
class X11HotKeys final : public HotKeys {
 public:
  static constexpr Seconds retryInterval{30.0};
  static constexpr Seconds answerLimit{5.0};

  /// `display` as in DISPLAY.
  X11HotKeys(MainQueue& mainQueue, std::string display);
  ~X11HotKeys() override;

  Status installHandler(Handler handler) override;
  void removeHandler() override;
  void registerHotKey(const HotKey& hotKey, Answer answer) override;
  void unregisterHotKey() override;

 private:
  void connect();
  void connected(std::unique_ptr<X11Keyboard> keyboard);
  void missing(const char* what);
  void askMapping();
  void readable();
  void mapped(const X11KeyboardMapping& mapping);
  void grabbed(int error);
  void failed(int error);
  void pressed() const;
  void serverGone();
  void answered();
  void silent();
  void close();

  MainQueue& mainQueue_;
  const std::string display_;
  HotKey hotKey_;
  Handler handler_;
  Answer answer_;  // none once it is given
  bool isRegistered_ = false;
  bool isAbsenceLogged_ = false;
  bool isSilenceLogged_ = false;
  BackgroundOpening<X11Keyboard> opening_;
  std::unique_ptr<X11Keyboard> keyboard_;
  std::unique_ptr<QSocketNotifier> notifier_;
  WorkItem retry_;
  WorkItem limit_;  // of an answer by the server
};

}  // namespace zolvex
