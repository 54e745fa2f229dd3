#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

struct xcb_connection_t;

namespace zolvex {

/// A connection to an X server, for the power of its displays: whether the server's screen saver has blanked them or
/// DPMS has switched them off. After open() nothing waits for the server. One thread at a time.
class X11Connection {
 public:
  /// Connects to `display`, as in DISPLAY, and asks what the server can do. Blocks until the server has answered, which
  /// a hung one never does. Null when there is no server, or none that knows of such things.
  static std::unique_ptr<X11Connection> open(const std::string& display);

  ~X11Connection();
  X11Connection(const X11Connection&) = delete;

  /// Readable when there may be something for takeChange() and takeAnswer(); for poll(2) only.
  int descriptor() const;

  /// The server has ended, or ended the connection.
  bool isBroken() const;

  /// Whether the server tells of changes; otherwise ask from time to time. It does not say what has changed.
  bool tellsChanges() const { return saverEvent_ != 0; }
  bool takeChange();

  /// Asks whether the displays are off. Not again before the answer has been taken.
  void ask();
  std::optional<bool> takeAnswer();

  /// Ends the screen saver and switches the displays on.
  void wakeDisplay();

 private:
  explicit X11Connection(xcb_connection_t* connection) : connection_(connection) {}

  bool prepare(int screenNumber);
  void takeSaverAnswer();
  void takeDpmsAnswer();

  xcb_connection_t* const connection_;
  std::uint32_t root_ = 0;
  std::uint8_t saverEvent_ = 0;  // its number, 0 without the extension
  bool hasDpms_ = false;
  unsigned saverQuestion_ = 0;  // sequence numbers of open questions, 0 for none
  unsigned dpmsQuestion_ = 0;
  bool isBlanked_ = false;
  bool isPoweredDown_ = false;
};

}  // namespace zolvex
