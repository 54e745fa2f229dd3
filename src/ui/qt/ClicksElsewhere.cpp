#include "ui/qt/ClicksElsewhere.h"

#include <QCursor>
#include <QGuiApplication>
#include <QWindow>
#include <QtGui/qguiapplication_platform.h>

#include <algorithm>
#include <xcb/xinput.h>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

constexpr std::uint32_t leftButton = 1;
constexpr std::uint32_t rightButton = 3;

// What the server is to tell.
constexpr std::uint32_t clicksOnly = XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS;
constexpr std::uint32_t nothing = 0;

/// Null where there is no X server.
xcb_connection_t* xServer() {
  const auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  return x11 ? x11->connection() : nullptr;
}

/// From now on the server tells of what all pointing devices do together that is in `wanted`.
void select(xcb_connection_t* connection, std::uint32_t wanted) {
  struct {
    xcb_input_event_mask_t header;
    std::uint32_t mask;
  } selection{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, wanted};
  for (auto screen = xcb_setup_roots_iterator(xcb_get_setup(connection)); screen.rem > 0; xcb_screen_next(&screen))
    xcb_input_xi_select_events(connection, screen.data->root, 1, &selection.header);
  xcb_flush(connection);
}

bool isOurs(const QPoint& position) {
  const auto windows = QGuiApplication::topLevelWindows();
  return std::any_of(windows.begin(), windows.end(), [&](const QWindow* window) {
    return window->isVisible() && window->frameGeometry().contains(position);
  });
}

}  // namespace

void ClicksElsewhere::setEnabled(bool isEnabled) {
  if (isEnabled == isEnabled_) return;
  auto* const connection = xServer();
  if (!connection) return;
  const auto* const extension = xcb_get_extension_data(connection, &xcb_input_id);  // Qt has asked already
  if (!extension || !extension->present) return;
  inputExtension_ = extension->major_opcode;
  isEnabled_ = isEnabled;
  select(connection, isEnabled ? clicksOnly : nothing);
  isEnabled ? qGuiApp->installNativeEventFilter(this) : qGuiApp->removeNativeEventFilter(this);
}

bool ClicksElsewhere::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
  if (!isClick(eventType, message)) return false;
  // The event does not tell where, and the pointer has hardly moved since.
  if (const auto position = QCursor::pos(); !isOurs(position)) Q_EMIT clicked(position);
  return false;
}

bool ClicksElsewhere::isClick(const QByteArray& eventType, const void* message) const {
  if (eventType != "xcb_generic_event_t") return false;
  const auto& event = *static_cast<const xcb_ge_generic_event_t*>(message);
  if ((event.response_type & 0x7f) != XCB_GE_GENERIC || event.extension != inputExtension_) return false;
  if (event.event_type != XCB_INPUT_RAW_BUTTON_PRESS) return false;
  const auto button = static_cast<const xcb_input_raw_button_press_event_t*>(message)->detail;
  return button == leftButton || button == rightButton;
}

}  // namespace zolvex
