#pragma once

#include "platform/linux/hotkey/X11KeyboardMapping.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>
#include <xcb/xcb.h>

namespace zolvex {

/// A connection to an X server, for keys that are grabbed wherever the keyboard is. What it has grabbed is free again
/// when it ends. After open() nothing waits for the server: everything is asked, and arrives with take(). One thread
/// at a time.
class X11Keyboard {
 public:
  /// Connects to `display`, as in DISPLAY. Blocks until the server has answered, which a hung one never does. Null when
  /// there is no server.
  static std::unique_ptr<X11Keyboard> open(const std::string& display);

  ~X11Keyboard();
  X11Keyboard(const X11Keyboard&) = delete;

  /// Readable when there may be something to take(); for poll(2) only.
  int descriptor() const;

  /// The server has ended, or ended the connection.
  bool isBroken() const;

  void askMapping();

  /// Grabs these in place of what was grabbed.
  void grab(std::vector<X11KeyCombination> combinations);
  const std::vector<X11KeyCombination>& grabbed() const { return grabbed_; }

  /// What has arrived.
  struct Arrivals {
    int presses = 0;  ///< Of grabbed keys, without what holding them down repeats.
    bool isMappingChanged = false;
    std::optional<X11KeyboardMapping> mapping;
    std::optional<int> grabOutcome;  ///< 0, or the number of the X error that one of the grabs got.
  };
  Arrivals take();

 private:
  explicit X11Keyboard(xcb_connection_t* connection, int screenNumber);

  using NextEvent = xcb_generic_event_t*(xcb_connection_t*);

  bool takeEvents(NextEvent* next, Arrivals& arrivals);
  bool takeReplies(Arrivals& arrivals);
  bool takeMapping(Arrivals& arrivals);
  void noteEvent(const xcb_generic_event_t& event, Arrivals& arrivals);
  void noteError(const xcb_generic_error_t& error);
  bool isGrabbed(std::uint8_t keycode) const;

  xcb_connection_t* const connection_;
  const std::uint32_t root_;
  std::vector<X11KeyCombination> grabbed_;
  unsigned keysQuestion_ = 0;  // sequence numbers of open questions, 0 for none
  unsigned modifiersQuestion_ = 0;
  unsigned fence_ = 0;  // is answered after every request before it
  std::optional<X11KeyboardMapping> keys_;
  unsigned firstGrab_ = 0;
  int grabError_ = 0;
  std::uint32_t lastRelease_ = 0;  // in the server's time
};

}  // namespace zolvex
