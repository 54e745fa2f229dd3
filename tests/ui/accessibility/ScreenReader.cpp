#include "ui/accessibility/ScreenReader.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QFileInfo>
#include <QStringList>
#include <QUuid>

#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace zolvex::test {

namespace {

constexpr int announcementMilliseconds = 5'000;

/// Where distributions put it.
QString launcherProgram() {
  for (const auto& folder : {u"/usr/libexec/"_s, u"/usr/lib/at-spi2-core/"_s, u"/usr/lib/"_s})
    if (const auto path = folder + u"at-spi-bus-launcher"_s; QFileInfo(path).isExecutable()) return path;
  return {};
}

bool turnOn(const QDBusConnection& bus, const QString& property) {
  auto call = QDBusMessage::createMethodCall(u"org.a11y.Bus"_s, u"/org/a11y/bus"_s,
                                             u"org.freedesktop.DBus.Properties"_s, u"Set"_s);
  call << u"org.a11y.Status"_s << property << QVariant::fromValue(QDBusVariant(true));
  return bus.call(call, QDBus::Block, announcementMilliseconds).type() == QDBusMessage::ReplyMessage;
}

/// Tells programs that somebody listens, as screen readers do. The launcher has options for it, which that of
/// at-spi2-core 2.62 refuses.
bool announceReader(const QString& sessionBus) {
  const auto name = QUuid::createUuid().toString();
  bool isEnabled = false;
  {
    const auto bus = QDBusConnection::connectToBus(sessionBus, name);
    turnOn(bus, u"ScreenReaderEnabled"_s);  // newer versions have no such property
    isEnabled = turnOn(bus, u"IsEnabled"_s);
  }
  QDBusConnection::disconnectFromBus(name);
  return isEnabled;
}

}  // namespace

std::string ScreenReader::reasonAgainst() {
  return launcherProgram().isEmpty() ? "at-spi-bus-launcher is not installed (Debian package at-spi2-core)" : "";
}

ScreenReader::~ScreenReader() {
  tree_.reset();
  if (!launcher_) return;
  launcher_->terminate();  // and with it the processes that it has started
  (void)launcher_->hasEnded();
}

bool ScreenReader::start(const QString& sessionBus, ProgramRun::Variables variables) {
  variables.emplace_back(u"DBUS_SESSION_BUS_ADDRESS"_s, sessionBus);
  variables.emplace_back(u"GSETTINGS_BACKEND"_s, u"memory"_s);
  launcher_.emplace(launcherProgram(), QStringList{u"--launch-immediately"_s}, variables);
  return runUntil([&] {
    tree_ = std::make_unique<AccessibleTree>(sessionBus);
    return tree_->isConnected() && announceReader(sessionBus);
  });
}

std::optional<QRect> ScreenReader::control(const QString& name) const {
  for (const auto& one : tree_->read())
    if (one.name == name && one.isControl()) return tree_->placeOf(one);
  return std::nullopt;
}

bool ScreenReader::tells(const QString& text) const {
  const auto all = tree_->read();
  return std::any_of(all.begin(), all.end(),
                     [&](const Accessible& one) { return one.name == text || one.description == text; });
}

QString ScreenReader::described() const {
  QStringList lines;
  for (const auto& one : tree_->read())
    lines.append(u"role %1 \"%2\", \"%3\""_s.arg(one.role).arg(one.name, one.description));
  return lines.join(u'\n');
}

}  // namespace zolvex::test
