#include "desktop/Screen.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

namespace zolvex::bench {

namespace {

struct Free {
  void operator()(void* memory) const { std::free(memory); }
};

}  // namespace

void Screen::Disconnect::operator()(xcb_connection_t* connection) const {
  xcb_disconnect(connection);
}

Screen::Screen(const std::string& display) : connection_(xcb_connect(display.c_str(), nullptr)) {
  if (isConnected()) root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data->root;
}

bool Screen::isConnected() const {
  return xcb_connection_has_error(connection_.get()) == 0;
}

Screen::Picture Screen::picture(const QRect& area) const {
  const auto request =
      xcb_get_image(connection_.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, root_, static_cast<std::int16_t>(area.x()),
                    static_cast<std::int16_t>(area.y()), static_cast<std::uint16_t>(area.width()),
                    static_cast<std::uint16_t>(area.height()), ~0U);
  const std::unique_ptr<xcb_get_image_reply_t, Free> reply(xcb_get_image_reply(connection_.get(), request, nullptr));
  if (!reply) return {};
  Picture picture(static_cast<std::size_t>(xcb_get_image_data_length(reply.get())) / sizeof(std::uint32_t));
  std::memcpy(picture.data(), xcb_get_image_data(reply.get()), picture.size() * sizeof(std::uint32_t));
  return picture;
}

void Screen::click(const QPoint& where, std::uint8_t button) const {
  fake(XCB_MOTION_NOTIFY, 0, where);
  fake(XCB_BUTTON_PRESS, button, {});
  fake(XCB_BUTTON_RELEASE, button, {});
  std::free(xcb_get_input_focus_reply(connection_.get(), xcb_get_input_focus(connection_.get()), nullptr));
}

void Screen::fake(std::uint8_t type, std::uint8_t detail, const QPoint& where) const {
  xcb_test_fake_input(connection_.get(), type, detail, XCB_CURRENT_TIME, root_, static_cast<std::int16_t>(where.x()),
                      static_cast<std::int16_t>(where.y()), 0);
}

std::size_t coloursIn(const Screen::Picture& picture) {
  auto sorted = picture;
  std::ranges::sort(sorted);
  return static_cast<std::size_t>(std::ranges::distance(sorted.begin(), std::ranges::unique(sorted).begin()));
}

}  // namespace zolvex::bench
