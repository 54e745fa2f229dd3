#pragma once

#include <cstdlib>
#include <memory>
#include <xcb/xcb.h>
#include <xcb/xcbext.h>

/// What all code that speaks X11 needs.
namespace zolvex::xcb {

template <class T>
struct Freed {
  void operator()(T* pointer) const { std::free(pointer); }
};

/// What xcb has allocated for its caller.
template <class T>
using Received = std::unique_ptr<T, Freed<T>>;

inline xcb_window_t rootOf(xcb_connection_t* connection, int screenNumber) {
  auto screen = xcb_setup_roots_iterator(xcb_get_setup(connection));
  for (; screen.rem > 1 && screenNumber > 0; --screenNumber) xcb_screen_next(&screen);
  return screen.rem > 0 ? screen.data->root : static_cast<xcb_window_t>(XCB_NONE);
}

/// What the server has answered to `question`, which is set to 0 then; null while it has not, or when it refused.
template <class Reply>
Received<Reply> receive(xcb_connection_t* connection, unsigned& question) {
  void* reply = nullptr;
  if (question != 0 && xcb_poll_for_reply(connection, question, &reply, nullptr) != 0) question = 0;
  return Received<Reply>(static_cast<Reply*>(reply));
}

}  // namespace zolvex::xcb
