#include "platform/linux/X11Connection.h"

#include "platform/linux/Xcb.h"

#include <xcb/dpms.h>
#include <xcb/screensaver.h>

namespace zolvex {

namespace {

using xcb::Received;

bool canSwitchOff(xcb_connection_t* connection) {
  const auto* extension = xcb_get_extension_data(connection, &xcb_dpms_id);
  if (!extension || !extension->present) return false;
  const Received<xcb_dpms_capable_reply_t> reply(
      xcb_dpms_capable_reply(connection, xcb_dpms_capable_unchecked(connection), nullptr));
  return reply && reply->capable != 0;
}

/// The number of the screen saver's event, or 0.
std::uint8_t selectSaverEvents(xcb_connection_t* connection, xcb_window_t root) {
  const auto* extension = xcb_get_extension_data(connection, &xcb_screensaver_id);
  if (!extension || !extension->present) return 0;
  const auto version =
      xcb_screensaver_query_version_unchecked(connection, XCB_SCREENSAVER_MAJOR_VERSION, XCB_SCREENSAVER_MINOR_VERSION);
  const Received<xcb_screensaver_query_version_reply_t> reply(
      xcb_screensaver_query_version_reply(connection, version, nullptr));
  if (!reply) return 0;
  xcb_screensaver_select_input(connection, root, XCB_SCREENSAVER_EVENT_NOTIFY_MASK);
  return static_cast<std::uint8_t>(extension->first_event + XCB_SCREENSAVER_NOTIFY);
}

}  // namespace

std::unique_ptr<X11Connection> X11Connection::open(const std::string& display) {
  int screenNumber = 0;
  std::unique_ptr<X11Connection> connection(new X11Connection(xcb_connect(display.c_str(), &screenNumber)));
  if (connection->isBroken() || !connection->prepare(screenNumber)) return nullptr;
  return connection;
}

X11Connection::~X11Connection() {
  xcb_disconnect(connection_);
}

bool X11Connection::prepare(int screenNumber) {
  root_ = xcb::rootOf(connection_, screenNumber);
  hasDpms_ = canSwitchOff(connection_);
  saverEvent_ = selectSaverEvents(connection_, root_);
  return !isBroken() && (hasDpms_ || tellsChanges());
}

int X11Connection::descriptor() const {
  return xcb_get_file_descriptor(connection_);
}

bool X11Connection::isBroken() const {
  return xcb_connection_has_error(connection_) != 0;
}

bool X11Connection::takeChange() {
  constexpr auto sentByClient = 0x80;
  bool hasChanged = false;
  while (const Received<xcb_generic_event_t> event{xcb_poll_for_event(connection_)})
    hasChanged |= tellsChanges() && (event->response_type & ~sentByClient) == saverEvent_;
  return hasChanged;
}

void X11Connection::ask() {
  if (tellsChanges()) saverQuestion_ = xcb_screensaver_query_info_unchecked(connection_, root_).sequence;
  if (hasDpms_) dpmsQuestion_ = xcb_dpms_info_unchecked(connection_).sequence;
  xcb_flush(connection_);
}

std::optional<bool> X11Connection::takeAnswer() {
  if (saverQuestion_ == 0 && dpmsQuestion_ == 0) return std::nullopt;
  takeSaverAnswer();
  takeDpmsAnswer();
  if (saverQuestion_ != 0 || dpmsQuestion_ != 0) return std::nullopt;
  return isBlanked_ || isPoweredDown_;
}

/// A screen saver that is a program shows something.
void X11Connection::takeSaverAnswer() {
  const auto reply = xcb::receive<xcb_screensaver_query_info_reply_t>(connection_, saverQuestion_);
  if (reply) isBlanked_ = reply->state == XCB_SCREENSAVER_STATE_ON && reply->kind != XCB_SCREENSAVER_KIND_EXTERNAL;
}

void X11Connection::takeDpmsAnswer() {
  const auto reply = xcb::receive<xcb_dpms_info_reply_t>(connection_, dpmsQuestion_);
  if (reply) isPoweredDown_ = reply->state != 0 && reply->power_level != XCB_DPMS_DPMS_MODE_ON;
}

void X11Connection::wakeDisplay() {
  xcb_force_screen_saver(connection_, XCB_SCREEN_SAVER_RESET);
  if (hasDpms_) xcb_dpms_force_level(connection_, XCB_DPMS_DPMS_MODE_ON);
  xcb_flush(connection_);
}

}  // namespace zolvex
