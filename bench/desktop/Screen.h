#pragma once

#include <QPoint>
#include <QRect>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct xcb_connection_t;

namespace zolvex::bench {

/// An X display as its user has it: what is to be seen, and a mouse. It sees what is drawn, whoever draws it and
/// however.
class Screen {
 public:
  using Picture = std::vector<std::uint32_t>;  ///< A colour for each pixel, row by row.

  explicit Screen(const std::string& display);

  bool isConnected() const;
  Picture picture(const QRect& area) const;

  /// Moves the pointer there and clicks; the server has the click when this returns.
  void click(const QPoint& where, std::uint8_t button = 1) const;

 private:
  struct Disconnect {
    void operator()(xcb_connection_t* connection) const;
  };

  void fake(std::uint8_t type, std::uint8_t detail, const QPoint& where) const;

  std::unique_ptr<xcb_connection_t, Disconnect> connection_;
  std::uint32_t root_ = 0;
};

/// How many different colours there are. A window that shows something has more than a bare background.
std::size_t coloursIn(const Screen::Picture& picture);

}  // namespace zolvex::bench
