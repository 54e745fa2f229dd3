#include "ui/qt/EmbeddingTray.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QtGui/qguiapplication_platform.h>

#include <cstdlib>
#include <memory>
#include <string_view>
#include <xcb/xcb.h>

namespace zolvex {

namespace {

constexpr std::string_view selectionName = "_NET_SYSTEM_TRAY_S0";
constexpr std::uint8_t sentByClient = 0x80;  // of an event's type

template <class Reply>
using XcbReply = std::unique_ptr<Reply, decltype([](Reply* reply) { std::free(reply); })>;

/// Null on other displays than X servers.
xcb_connection_t* connection() {
  const auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  return x11 ? x11->connection() : nullptr;
}

}  // namespace

EmbeddingTray::EmbeddingTray() {
  QCoreApplication::instance()->installNativeEventFilter(this);
}

EmbeddingTray::~EmbeddingTray() {
  if (auto* const application = QCoreApplication::instance()) application->removeNativeEventFilter(this);
}

bool EmbeddingTray::isThere() {
  if (owner_ != XCB_NONE || !connection()) return owner_ != XCB_NONE;
  const auto found = find();
  if (found != XCB_NONE && watch(found)) owner_ = found;
  return owner_ != XCB_NONE;
}

std::uint32_t EmbeddingTray::find() {
  if (selection_ == XCB_NONE) {
    const XcbReply<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(
        connection(), xcb_intern_atom(connection(), 0, selectionName.size(), selectionName.data()), nullptr));
    if (!atom) return XCB_NONE;
    selection_ = atom->atom;
  }
  const XcbReply<xcb_get_selection_owner_reply_t> owner(
      xcb_get_selection_owner_reply(connection(), xcb_get_selection_owner(connection(), selection_), nullptr));
  return owner ? owner->owner : std::uint32_t{XCB_NONE};
}

/// The very events that Qt wants of this window when it embeds an icon: who asks last decides for both.
bool EmbeddingTray::watch(std::uint32_t window) {
  constexpr std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
  const XcbReply<xcb_generic_error_t> error(xcb_request_check(
      connection(), xcb_change_window_attributes_checked(connection(), window, XCB_CW_EVENT_MASK, &events)));
  return !error;
}

bool EmbeddingTray::nativeEventFilter(const QByteArray& type, void* message, qintptr*) {
  if (owner_ == XCB_NONE || type != "xcb_generic_event_t") return false;
  const auto* const event = static_cast<const xcb_generic_event_t*>(message);
  if ((event->response_type & ~sentByClient) != XCB_DESTROY_NOTIFY) return false;
  const auto* const destroyed = static_cast<const xcb_destroy_notify_event_t*>(message);
  if (destroyed->window == owner_) owner_ = XCB_NONE;
  return false;
}

}  // namespace zolvex
