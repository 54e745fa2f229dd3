#include "ui/qt/UiWorld.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QQmlComponent>
#include <QQmlEngine>

namespace zolvex::test {

namespace {

void failOnWarning(QtMsgType type, const QMessageLogContext&, const QString& text) {
  if (type == QtDebugMsg || type == QtInfoMsg) return;
  if (text.startsWith(u"This plugin does not support ")) return;  // of the platform without a screen
  ADD_FAILURE() << "Qt says: " << text.toStdString();
}

void collectVisible(QQuickItem* item, std::vector<QQuickItem*>& found) {
  if (!item->isVisible()) return;
  found.push_back(item);
  for (auto* child : item->childItems()) collectVisible(child, found);
}

void send(QWindow& window, QEvent::Type type, const QPointF& position, Qt::MouseButtons buttons) {
  QMouseEvent event(type, position, window.mapToGlobal(position), Qt::LeftButton, buttons, Qt::NoModifier);
  QCoreApplication::sendEvent(&window, &event);
}

}  // namespace

QtWarnings::QtWarnings() {
  qInstallMessageHandler(failOnWarning);
}

QtWarnings::~QtWarnings() {
  qInstallMessageHandler(nullptr);
}

UiWorld::UiWorld(const std::vector<std::string>& devices, bool hasPeer) : world(devices, hasPeer) {}

UserInterfaceObjects UiWorld::objects() {
  return {.mainQueue = world.time,
          .defaults = world.defaults,
          .bluetoothStore = world.store(),
          .deviceManager = world.manager(),
          .networkStore = world.network(),
          .launchAtLogin = launchAtLogin,
          .listPairedDevices =
              [this](auto answer) {
                ++scans;
                scanAnswer = std::move(answer);
              },
          .hotKeyState = [this] { return hotKey.state(); },
          .observeHotKeyState = [this](auto observer) { return hotKey.observeState(std::move(observer)); },
          .uninstall = [this] { ++uninstalls; },
          .quit = [this] { ++quits; },
          .helpAddress = [] { return std::nullopt; }};
}

void UiWorld::settle() {
  world.runUntilIdle();
  runPending();
  runPending();
}

void UiWorld::open(const std::optional<QRect>& anchor) {
  ASSERT_TRUE(popover.show(anchor));
  ASSERT_TRUE(runUntil([this] { return window().isExposed(); }));
  settle();
}

std::vector<QQuickItem*> UiWorld::items() {
  std::vector<QQuickItem*> found;
  collectVisible(window().contentItem(), found);
  return found;
}

bool UiWorld::isVisible(const QString& name) {
  const auto all = items();
  return std::any_of(all.begin(), all.end(), [&](const auto* one) { return one->objectName() == name; });
}

QQuickItem* UiWorld::item(const QString& name) {
  for (auto* one : items())
    if (one->objectName() == name) return one;
  ADD_FAILURE() << "nothing visible is named " << name.toStdString();
  static QQuickItem nothing;
  return &nothing;
}

QRectF UiWorld::area(const QQuickItem& item) {
  return item.mapRectToScene(QRectF(0, 0, item.width(), item.height()));
}

Appearance* UiWorld::appearance() {
  return qobject_cast<Appearance*>(singleton("Appearance"));
}

/// A singleton of QML, by its name.
QObject* UiWorld::singleton(const QByteArray& name) {
  QQmlComponent component(qmlEngine(window().contentItem()->childItems().constFirst()));
  component.setData("import QtQml\nimport Zolvex\nQtObject { property QtObject found: " + name + " }", QUrl());
  const std::unique_ptr<QObject> holder(component.create());
  return holder->property("found").value<QObject*>();
}

void UiWorld::click(const QString& name) {
  auto* const target = item(name);
  const auto position = target->mapToScene(QPointF(target->width() / 2, target->height() / 2));
  send(window(), QEvent::MouseButtonPress, position, Qt::LeftButton);
  send(window(), QEvent::MouseButtonRelease, position, Qt::NoButton);
  settle();
}

void UiWorld::press(int key, Qt::KeyboardModifiers modifiers) {
  for (const auto type : {QEvent::KeyPress, QEvent::KeyRelease}) {
    QKeyEvent event(type, key, modifiers);
    QCoreApplication::sendEvent(&window(), &event);
  }
  settle();
}

void UiWorld::repeat(int key) {
  QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier, QString(), true);
  QCoreApplication::sendEvent(&window(), &event);
  settle();
}

NetworkDevice peerNamed(const std::string& id, const std::string& name, Date now) {
  return {id, name, "192.0.2.9", std::uint16_t{4712}, now, true, now};
}

}  // namespace zolvex::test
