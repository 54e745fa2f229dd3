#include "ui/desktop/AccessibleTree.h"

#include <QDBusArgument>
#include <QDBusVariant>
#include <QFileInfo>
#include <QStringList>

using namespace Qt::Literals::StringLiterals;

namespace zolvex::test {

namespace {

constexpr auto launcherProgram = "/usr/libexec/at-spi-bus-launcher";
constexpr auto accessibleInterface = "org.a11y.atspi.Accessible";
constexpr int answerLimit = 2'000;  // milliseconds
constexpr quint32 showingState = 1U << 25;
constexpr quint32 screenCoordinates = 0;
const auto nameProperty = u"Name"_s;
const auto descriptionProperty = u"Description"_s;

/// What can be clicked on; a text beside it may have the same name.
const QStringList controlRoles{u"push button"_s, u"button"_s,    u"toggle button"_s, u"check box"_s,
                               u"switch"_s,      u"combo box"_s, u"list item"_s};

template <class T>
T read(const QVariantList& values) {
  T value{};
  if (!values.isEmpty()) values.first().value<QDBusArgument>() >> value;
  return value;
}

QVariantList ask(const QDBusConnection& bus, const QDBusMessage& question) {
  const auto reply = bus.call(question, QDBus::Block, answerLimit);
  return reply.type() == QDBusMessage::ReplyMessage ? reply.arguments() : QVariantList{};
}

/// Where the launcher has its bus; empty while it has none.
QString accessibilityBus(const QDBusConnection& sessionBus) {
  const auto answer = ask(sessionBus, QDBusMessage::createMethodCall(u"org.a11y.Bus"_s, u"/org/a11y/bus"_s,
                                                                     u"org.a11y.Bus"_s, u"GetAddress"_s));
  return answer.isEmpty() ? QString() : answer.first().toString();
}

}  // namespace

std::string AccessibleTree::reasonAgainst() {
  if (QFileInfo(QString::fromLatin1(launcherProgram)).isExecutable()) return {};
  return std::string(launcherProgram) + " is not installed (Debian package at-spi2-core)";
}

AccessibleTree::~AccessibleTree() {
  if (!connectionName_.isEmpty()) QDBusConnection::disconnectFromBus(connectionName_);
  if (!launcher_) return;
  launcher_->terminate();  // it ends the bus that it has started
  (void)launcher_->hasEnded();
}

bool AccessibleTree::start(const QString& sessionBus, const ProgramRun::Variables& variables) {
  auto all = variables;
  all.emplace_back(u"DBUS_SESSION_BUS_ADDRESS"_s, sessionBus);
  all.emplace_back(u"GSETTINGS_BACKEND"_s, u"memory"_s);
  launcher_.emplace(QString::fromLatin1(launcherProgram), QStringList{u"--launch-immediately"_s, u"--a11y=1"_s}, all);
  const auto name = u"accessibility "_s + sessionBus;
  QString address;
  {
    const auto bus = QDBusConnection::connectToBus(sessionBus, name + u" session"_s);
    if (!runUntil([&] { return !(address = accessibilityBus(bus)).isEmpty(); })) return false;
  }
  QDBusConnection::disconnectFromBus(name + u" session"_s);
  connectionName_ = name;
  return QDBusConnection::connectToBus(address, name).isConnected();
}

QVariantList AccessibleTree::call(const Node& node, const QString& interface, const QString& method,
                                  const QVariantList& arguments) const {
  auto question = QDBusMessage::createMethodCall(node.service, node.path, interface, method);
  question.setArguments(arguments);
  return ask(QDBusConnection(connectionName_), question);
}

std::vector<AccessibleTree::Node> AccessibleTree::childrenOf(const Node& node) const {
  std::vector<Node> children;
  const auto answer = call(node, QString::fromLatin1(accessibleInterface), u"GetChildren"_s);
  if (answer.isEmpty()) return children;
  const auto list = answer.first().value<QDBusArgument>();
  for (list.beginArray(); !list.atEnd();) {
    QString service;
    QDBusObjectPath path;
    list.beginStructure();
    list >> service >> path;
    list.endStructure();
    children.push_back({service, path.path()});
  }
  return children;
}

QString AccessibleTree::textOf(const Node& node, const QString& property) const {
  const auto answer =
      call(node, u"org.freedesktop.DBus.Properties"_s, u"Get"_s, {QString::fromLatin1(accessibleInterface), property});
  return answer.isEmpty() ? QString() : answer.first().value<QDBusVariant>().variant().toString();
}

QString AccessibleTree::roleOf(const Node& node) const {
  const auto answer = call(node, QString::fromLatin1(accessibleInterface), u"GetRoleName"_s);
  return answer.isEmpty() ? QString() : answer.first().toString();
}

bool AccessibleTree::isShowing(const Node& node) const {
  const auto states = read<QList<quint32>>(call(node, QString::fromLatin1(accessibleInterface), u"GetState"_s));
  return !states.isEmpty() && (states.first() & showingState) != 0;
}

QRect AccessibleTree::placeOf(const Node& node) const {
  return read<QRect>(call(node, u"org.a11y.atspi.Component"_s, u"GetExtents"_s, {screenCoordinates}));
}

AccessibleTree::Node AccessibleTree::root() {
  return {u"org.a11y.atspi.Registry"_s, u"/org/a11y/atspi/accessible/root"_s};
}

bool AccessibleTree::walk(const Node& node, const std::function<bool(const Node&)>& visit) const {
  for (const auto& child : childrenOf(node))
    if (!visit(child) || !walk(child, visit)) return false;
  return true;
}

std::optional<QRect> AccessibleTree::control(const QString& name) const {
  std::optional<QRect> found;
  walk(root(), [&](const Node& node) {
    if (textOf(node, nameProperty) != name || !controlRoles.contains(roleOf(node)) || !isShowing(node)) return true;
    found = placeOf(node);
    return false;
  });
  return found;
}

bool AccessibleTree::tells(const QString& text) const {
  return !walk(root(), [&](const Node& node) {
    const bool isSaid = textOf(node, nameProperty) == text || textOf(node, descriptionProperty) == text;
    return !isSaid || !isShowing(node);
  });
}

QString AccessibleTree::described() const {
  QStringList lines;
  walk(root(), [&](const Node& node) {
    if (!isShowing(node)) return true;
    const auto place = placeOf(node);
    lines.append(u"%1 \"%2\", \"%3\", at %4,%5 of %6 x %7"_s
                     .arg(roleOf(node), textOf(node, nameProperty), textOf(node, descriptionProperty))
                     .arg(place.x())
                     .arg(place.y())
                     .arg(place.width())
                     .arg(place.height()));
    return true;
  });
  return lines.join(u'\n');
}

}  // namespace zolvex::test
