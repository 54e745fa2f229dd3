#include "ui/qt/Popover.h"

#include "core/Log.h"
#include "ui/qt/Appearance.h"
#include "ui/qt/PopoverPlacement.h"
#include "ui/qt/SymbolDrawing.h"

#include <QEvent>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QScreen>

#include <chrono>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

constexpr Logger logger("UserInterface");

/// Between losing the keyboard and the click that took it away.
constexpr std::chrono::milliseconds clickDelay{200};

QScreen* screenAt(const QPoint& point) {
  auto* const screen = QGuiApplication::screenAt(point);
  return screen ? screen : QGuiApplication::primaryScreen();
}

}  // namespace

Popover::Popover(PopoverModel& model) : model_(model) {
  connect(&clicksElsewhere_, &ClicksElsewhere::clicked, this, &Popover::clickedElsewhere);
}

Popover::~Popover() = default;

bool Popover::show(const std::optional<QRect>& anchor) {
  if (!create()) return false;
  if (!isShown()) {
    anchor_ = anchor;
    model_.open();
    dress();
    place();
    window_->show();
    clicksElsewhere_.setEnabled(anchor_.has_value());
  }
  window_->raise();
  window_->requestActivate();
  return true;
}

void Popover::close() {
  if (window_) window_->close();
}

void Popover::follow(const QDBusConnection& sessionBus) {
  sessionBus_ = sessionBus;
  if (window_) followBus();
}

bool Popover::isShown() const {
  return window_ && window_->isVisible();
}

bool Popover::wasClosedByThisClick() const {
  return sinceDeactivation_.isValid() && !sinceDeactivation_.hasExpired(clickDelay.count());
}

bool Popover::create() {
  if (window_ || isBroken_) return window_ != nullptr;
  engine_ = std::make_unique<QQmlEngine>();
  engine_->addImportPath(u"qrc:/qt/qml"_s);
  if (!createWindow()) return false;
  followBus();
  connect(window_.get(), &QQuickWindow::activeChanged, this, &Popover::activeChanged);
  connect(window_.get(), SIGNAL(wantedWidthChanged()), this, SLOT(place()));
  connect(window_.get(), SIGNAL(wantedHeightChanged()), this, SLOT(place()));
  connect(window_.get(), &QQuickWindow::visibleChanged, this, [this](bool isVisible) {
    if (!isVisible) closed();
  });
  return true;
}

void Popover::followBus() {
  const int type = qmlTypeId("Zolvex", 1, 0, "Appearance");
  if (auto* const appearance = engine_->singletonInstance<Appearance*>(type)) appearance->follow(sessionBus_);
}

bool Popover::createWindow() {
  QQmlComponent component(engine_.get(), QUrl(u"qrc:/qt/qml/Zolvex/PopoverWindow.qml"_s));
  const QVariantMap properties{{u"popover"_s, QVariant::fromValue(&model_)}};
  std::unique_ptr<QObject> object(component.createWithInitialProperties(properties));
  if (!object) return fail(component.errorString());
  window_.reset(qobject_cast<QQuickWindow*>(object.release()));
  window_->setIcon(SymbolDrawing::applicationIcon());
  return true;
}

bool Popover::fail(const QString& reason) {
  isBroken_ = true;
  logger.error("no windows, control Zolvex with zolvexctl: {}", reason.trimmed().toStdString());
  return false;
}

void Popover::dress() {
  window_->setProperty("isAnchored", anchor_.has_value());
  window_->setFlags(anchor_ ? Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint
                            : Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint);
}

void Popover::place() {
  const auto* const screen = anchor_ ? screenAt(anchor_->center()) : QGuiApplication::primaryScreen();
  if (!screen) return;
  const auto available = screen->availableGeometry();
  const int tallest = anchor_ ? tallestPopover(available) : tallestWindow(window_->frameMargins(), available);
  window_->setProperty("maximumContentHeight", tallest);
  const QSize size(window_->property("wantedWidth").toInt(), window_->property("wantedHeight").toInt());
  window_->setMinimumSize(size);
  window_->setMaximumSize(size);
  if (anchor_)
    window_->setGeometry({placePopover(*anchor_, size, available), size});
  else
    window_->resize(size);
}

void Popover::closed() {
  clicksElsewhere_.setEnabled(false);
  model_.close();
  // The pointer is gone, too; nobody tells a window that is not there any more.
  QEvent leave(QEvent::Leave);
  QCoreApplication::sendEvent(window_.get(), &leave);
}

void Popover::activeChanged() {
  if (!anchor_ || window_->isActive() || !window_->isVisible()) return;
  sinceDeactivation_.start();
  close();
}

void Popover::clickedElsewhere(const QPoint& position) {
  if (!anchor_ || !anchor_->contains(position)) close();
}

}  // namespace zolvex
