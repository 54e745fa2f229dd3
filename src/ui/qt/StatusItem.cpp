#include "ui/qt/StatusItem.h"

#include "core/Log.h"
#include "ui/qt/PopoverPlacement.h"
#include "ui/qt/QtText.h"
#include "ui/qt/SymbolDrawing.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>

namespace zolvex {

namespace {

constexpr Logger logger("UserInterface");

}  // namespace

StatusItem::StatusItem(const UserInterfaceObjects& objects, Popover& popover) : use_(objects), popover_(popover) {
  connect(&host_, &TrayHost::changed, this, &StatusItem::hostChanged);
}

StatusItem::~StatusItem() = default;

void StatusItem::start() {
  poll();
}

void StatusItem::poll() {
  host_.look();
  update();
  nextPoll_ = use_.mainQueue.after(pollInterval, [this] { poll(); });
}

void StatusItem::update() {
  const auto before = shown_;
  shown_ = presentStatusItem(use_.deviceManager.isSwitching(), use_.bluetoothStore.anyConnected());
  if (!icon_) return;
  if (shown_ != before) icon_->setIcon(SymbolDrawing::trayIcon(qString(shown_.iconName)));
  if (menu_) menu_->update();
}

void StatusItem::hostChanged() {
  icon_.reset();
  menu_.reset();
  lastClick_.reset();
  if (host_.kind() == TrayHost::Kind::none) return logger.info("the panel with the status item is gone");
  icon_ = std::make_unique<QSystemTrayIcon>(SymbolDrawing::trayIcon(qString(shown_.iconName)));
  icon_->setToolTip(qString(shown_.accessibleName));
  if (host_.kind() == TrayHost::Kind::menu) provideMenu();
  connect(icon_.get(), &QSystemTrayIcon::activated, this, &StatusItem::clicked);
  icon_->show();
  logger.info("the status item is in the panel");
}

void StatusItem::provideMenu() {
  menu_ = std::make_unique<StatusMenu>(use_, [this] { popover_.show(anchor()); });
  icon_->setContextMenu(&menu_->menu());
}

void StatusItem::clicked(QSystemTrayIcon::ActivationReason reason) {
  lastClick_ = QCursor::pos();
  const bool isRight = reason == QSystemTrayIcon::Context;
  if (isRight && menu_) return;  // the panel shows the menu
  if (isRight && popover_.isShown()) return popover_.close();
  if (isRight && popover_.wasClosedByThisClick()) return;
  popover_.show(anchor());
}

std::optional<QRect> StatusItem::anchor() const {
  if (!icon_) return std::nullopt;
  if (const auto geometry = icon_->geometry(); !geometry.isEmpty()) return geometry;
  if (lastClick_ && QGuiApplication::screenAt(*lastClick_)) return iconAround(*lastClick_);
  const auto* const screen = QGuiApplication::primaryScreen();
  return screen ? std::optional(likelyIcon(screen->geometry(), screen->availableGeometry())) : std::nullopt;
}

}  // namespace zolvex
