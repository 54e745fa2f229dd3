#include "platform/linux/hotkey/X11Keyboard.h"

#include "platform/linux/Xcb.h"

#include <algorithm>
#include <utility>

namespace zolvex {

namespace {

using xcb::Received;

/// The number of keys that the server knows, from the first on.
std::uint8_t keycodeCount(const xcb_setup_t& setup) {
  return static_cast<std::uint8_t>(setup.max_keycode - setup.min_keycode + 1);
}

}  // namespace

std::unique_ptr<X11Keyboard> X11Keyboard::open(const std::string& display) {
  int screenNumber = 0;
  auto* connection = xcb_connect(display.c_str(), &screenNumber);
  if (xcb_connection_has_error(connection) == 0)
    return std::unique_ptr<X11Keyboard>(new X11Keyboard(connection, screenNumber));
  xcb_disconnect(connection);
  return nullptr;
}

X11Keyboard::X11Keyboard(xcb_connection_t* connection, int screenNumber)
    : connection_(connection), root_(xcb::rootOf(connection, screenNumber)) {}

X11Keyboard::~X11Keyboard() {
  xcb_disconnect(connection_);
}

int X11Keyboard::descriptor() const {
  return xcb_get_file_descriptor(connection_);
}

bool X11Keyboard::isBroken() const {
  return xcb_connection_has_error(connection_) != 0;
}

void X11Keyboard::askMapping() {
  const auto& setup = *xcb_get_setup(connection_);
  keysQuestion_ = xcb_get_keyboard_mapping_unchecked(connection_, setup.min_keycode, keycodeCount(setup)).sequence;
  modifiersQuestion_ = xcb_get_modifier_mapping_unchecked(connection_).sequence;
  xcb_flush(connection_);
}

void X11Keyboard::grab(std::vector<X11KeyCombination> combinations) {
  for (const auto& old : grabbed_) xcb_ungrab_key(connection_, old.keycode, root_, old.modifiers);
  grabbed_ = std::move(combinations);
  grabError_ = 0;
  firstGrab_ = 0;
  for (const auto& next : grabbed_) {
    const auto request =
        xcb_grab_key(connection_, 0, root_, next.modifiers, next.keycode, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    if (firstGrab_ == 0) firstGrab_ = request.sequence;
  }
  fence_ = xcb_get_input_focus_unchecked(connection_).sequence;
  xcb_flush(connection_);
}

X11Keyboard::Arrivals X11Keyboard::take() {
  Arrivals arrivals;
  // Looking for one kind of message may bring in others, after which nothing announces them.
  bool isAny = true;
  while (isAny) {
    isAny = takeEvents(xcb_poll_for_event, arrivals);
    isAny = takeReplies(arrivals) || isAny;
    isAny = takeEvents(xcb_poll_for_queued_event, arrivals) || isAny;
  }
  return arrivals;
}

bool X11Keyboard::takeEvents(NextEvent* next, Arrivals& arrivals) {
  bool isAny = false;
  while (const Received<xcb_generic_event_t> event{next(connection_)}) {
    noteEvent(*event, arrivals);
    isAny = true;
  }
  return isAny;
}

bool X11Keyboard::takeReplies(Arrivals& arrivals) {
  const bool isMapped = takeMapping(arrivals);
  const bool wasFenced = fence_ != 0;
  xcb::receive<xcb_get_input_focus_reply_t>(connection_, fence_);
  const bool isFenceReached = wasFenced && fence_ == 0;
  if (isFenceReached) {
    takeEvents(xcb_poll_for_queued_event, arrivals);  // errors of the grabs have come before it
    arrivals.grabOutcome = grabError_;
  }
  return isMapped || isFenceReached;
}

bool X11Keyboard::takeMapping(Arrivals& arrivals) {
  if (const auto reply = xcb::receive<xcb_get_keyboard_mapping_reply_t>(connection_, keysQuestion_)) {
    const auto* keysyms = xcb_get_keyboard_mapping_keysyms(reply.get());
    keys_.emplace();
    keys_->firstKeycode = xcb_get_setup(connection_)->min_keycode;
    keys_->keysymsPerKeycode = reply->keysyms_per_keycode;
    keys_->keysyms.assign(keysyms, keysyms + xcb_get_keyboard_mapping_keysyms_length(reply.get()));
  }
  if (!keys_) return false;
  const auto reply = xcb::receive<xcb_get_modifier_mapping_reply_t>(connection_, modifiersQuestion_);
  if (!reply) return false;
  const auto* keycodes = xcb_get_modifier_mapping_keycodes(reply.get());
  keys_->keycodesPerModifier = reply->keycodes_per_modifier;
  keys_->modifierKeycodes.assign(keycodes, keycodes + xcb_get_modifier_mapping_keycodes_length(reply.get()));
  arrivals.mapping = std::exchange(keys_, std::nullopt);
  return true;
}

void X11Keyboard::noteEvent(const xcb_generic_event_t& event, Arrivals& arrivals) {
  switch (event.response_type) {
    case 0:
      return noteError(reinterpret_cast<const xcb_generic_error_t&>(event));
    case XCB_MAPPING_NOTIFY:
      arrivals.isMappingChanged = true;
      return;
    case XCB_KEY_RELEASE:
      lastRelease_ = reinterpret_cast<const xcb_key_release_event_t&>(event).time;
      return;
    case XCB_KEY_PRESS: {
      // What holding a key down repeats is a release and a press at one moment.
      const auto& press = reinterpret_cast<const xcb_key_press_event_t&>(event);
      if (isGrabbed(press.detail) && press.time != lastRelease_) ++arrivals.presses;
      return;
    }
    default:
      return;
  }
}

void X11Keyboard::noteError(const xcb_generic_error_t& error) {
  if (firstGrab_ != 0 && error.full_sequence >= firstGrab_) grabError_ = error.error_code;
}

bool X11Keyboard::isGrabbed(std::uint8_t keycode) const {
  return std::any_of(grabbed_.begin(), grabbed_.end(),
                     [keycode](const X11KeyCombination& each) { return each.keycode == keycode; });
}

}  // namespace zolvex
