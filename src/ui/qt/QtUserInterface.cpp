#include "ui/qt/QtUserInterface.h"

#include "ui/FirstOpening.h"

#include <QFontMetrics>
#include <QGuiApplication>

#include <tuple>

namespace zolvex {

namespace {

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
    : use_(objects), model_(objects), popover_(model_), statusItem_(objects, popover_) {
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

bool QtUserInterface::show() {
  return popover_.show(statusItem_.anchor());
}

}  // namespace zolvex
