#include "ui/qt/QtUserInterface.h"

#include "core/Log.h"
#include "ui/FirstOpening.h"
#include "ui/qt/QtText.h"

#include <QFontMetrics>
#include <QGuiApplication>

#include <tuple>

namespace zolvex {

namespace {

constexpr Logger logger("UserInterface");

/// Time for the panel to take the status item, so that the popover opens beside it.
constexpr Seconds firstOpeningDelay{0.5};

/// By then the icon is there.
constexpr Seconds fontsDelay{1.0};

/// The first look at the fonts takes milliseconds, which the first opening would have to wait for.
void lookUpFonts() {
  std::ignore = QFontMetrics(QGuiApplication::font()).height();
}

}  // namespace

QtUserInterface::QtUserInterface(const UserInterfaceObjects& objects)
    : use_(objects),
      sessionBus_(QDBusConnection::sessionBus()),
      model_(objects),
      popover_(model_),
      statusItem_(objects, popover_) {
  follow(sessionBus_);
  statusItem_.start();
  openAtFirstStart();
  fonts_ = use_.mainQueue.after(fontsDelay, lookUpFonts);
}

void QtUserInterface::openAtFirstStart() {
  const bool hasDevices = !use_.bluetoothStore.peripherals().empty();
  const bool hasPeer = use_.networkStore.registeredPeer() != nullptr;
  if (!takeFirstOpening(use_.defaults, hasDevices, hasPeer)) return;
  firstOpening_ = use_.mainQueue.after(firstOpeningDelay, [this] {
    model_.showSettings();
    show();
  });
}

void QtUserInterface::sessionBusArrived(const std::string& connectionName) {
  if (sessionBus_.isConnected()) return;  // Qt's own, which was there before
  logger.error("start Zolvex again for screen readers: Qt follows no session bus that comes late or restarts");
  follow(QDBusConnection(qString(connectionName)));
}

void QtUserInterface::sessionBusLost() {
  follow(QDBusConnection(QString()));
}

void QtUserInterface::follow(const QDBusConnection& sessionBus) {
  sessionBus_ = sessionBus;
  statusItem_.follow(sessionBus);
  popover_.follow(sessionBus);
}

bool QtUserInterface::show() {
  return popover_.show(statusItem_.anchor());
}

}  // namespace zolvex
