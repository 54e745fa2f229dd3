#include "ui/accessibility/AccessibleTree.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QUuid>

#include <chrono>

using namespace Qt::Literals::StringLiterals;

namespace zolvex::test {

namespace {

constexpr int callMilliseconds = 5'000;
constexpr uint screenCoordinates = 0;

const auto accessible = u"org.a11y.atspi.Accessible"_s;
const auto action = u"org.a11y.atspi.Action"_s;
const auto component = u"org.a11y.atspi.Component"_s;
const auto properties = u"org.freedesktop.DBus.Properties"_s;
const auto registry = u"org.a11y.atspi.Registry"_s;
const auto root = u"/org/a11y/atspi/accessible/root"_s;
const auto pressName = u"Press"_s;

QString addressOn(const QString& sessionBus) {
  const auto name = QUuid::createUuid().toString();
  QString address;
  {
    auto session = QDBusConnection::connectToBus(sessionBus, name);
    const auto call =
        QDBusMessage::createMethodCall(u"org.a11y.Bus"_s, u"/org/a11y/bus"_s, u"org.a11y.Bus"_s, u"GetAddress"_s);
    const auto answer = session.call(call, QDBus::Block, callMilliseconds);
    if (answer.type() == QDBusMessage::ReplyMessage) address = answer.arguments().constFirst().toString();
  }
  QDBusConnection::disconnectFromBus(name);
  return address;
}

/// The places of the children, an array of bus name and path.
std::vector<std::pair<QString, QString>> placesIn(const QVariant& answer) {
  std::vector<std::pair<QString, QString>> places;
  if (!answer.canConvert<QDBusArgument>()) return places;
  const auto argument = answer.value<QDBusArgument>();
  argument.beginArray();
  while (!argument.atEnd()) {
    QString service;
    QDBusObjectPath path;
    argument.beginStructure();
    argument >> service >> path;
    argument.endStructure();
    places.emplace_back(service, path.path());
  }
  argument.endArray();
  return places;
}

/// Two numbers of 32 bits.
std::uint64_t statesIn(const QVariant& answer) {
  QList<uint> words;
  if (answer.canConvert<QDBusArgument>()) answer.value<QDBusArgument>() >> words;
  if (words.size() < 2) return 0;
  return words[0] | std::uint64_t{words[1]} << 32U;
}

/// Of name, description and key each.
QStringList actionsIn(const QVariant& answer) {
  QStringList names;
  if (!answer.canConvert<QDBusArgument>()) return names;
  const auto argument = answer.value<QDBusArgument>();
  argument.beginArray();
  while (!argument.atEnd()) {
    QString name, description, key;
    argument.beginStructure();
    argument >> name >> description >> key;
    argument.endStructure();
    names.append(name);
  }
  argument.endArray();
  return names;
}

}  // namespace

AccessibleTree::AccessibleTree(const QString& sessionBus)
    : name_(QUuid::createUuid().toString()), bus_(QDBusConnection::connectToBus(addressOn(sessionBus), name_)) {}

AccessibleTree::~AccessibleTree() {
  QDBusConnection::disconnectFromBus(name_);
}

QVariant AccessibleTree::ask(const Accessible& one, const QString& interface, const QString& method,
                             const QVariantList& arguments) const {
  auto call = QDBusMessage::createMethodCall(one.service, one.path, interface, method);
  call.setArguments(arguments);
  const auto answer = bus_.call(call, QDBus::Block, callMilliseconds);
  if (answer.type() != QDBusMessage::ReplyMessage || answer.arguments().isEmpty()) return {};
  const auto value = answer.arguments().constFirst();
  return value.canConvert<QDBusVariant>() ? value.value<QDBusVariant>().variant() : value;
}

Accessible AccessibleTree::look(const QString& service, const QString& path) const {
  Accessible one{.service = service, .path = path};
  one.role = ask(one, accessible, u"GetRole"_s).toUInt();
  one.name = ask(one, properties, u"Get"_s, {accessible, u"Name"_s}).toString();
  one.description = ask(one, properties, u"Get"_s, {accessible, u"Description"_s}).toString();
  one.states = statesIn(ask(one, accessible, u"GetState"_s));
  one.actions = actionsIn(ask(one, action, u"GetActions"_s));
  return one;
}

void AccessibleTree::walk(const QString& service, const QString& path, std::vector<Accessible>& found) const {
  auto one = look(service, path);
  if (!one.is(Accessible::showing)) return;
  found.push_back(one);
  for (const auto& [childService, childPath] : placesIn(ask(one, accessible, u"GetChildren"_s)))
    walk(childService, childPath, found);
}

std::vector<Accessible> AccessibleTree::read() const {
  std::vector<Accessible> found;
  const Accessible desktop{.service = registry, .path = root};
  for (const auto& [service, path] : placesIn(ask(desktop, accessible, u"GetChildren"_s)))
    for (const auto& [owner, window] :
         placesIn(ask(Accessible{.service = service, .path = path}, accessible, u"GetChildren"_s)))
      walk(owner, window, found);
  return found;
}

std::optional<Accessible> AccessibleTree::find(Accessible::Role role, const QString& name) const {
  for (const auto& one : read())
    if (one.name == name && one.role == role) return one;
  return std::nullopt;
}

QRect AccessibleTree::placeOf(const Accessible& one) const {
  const auto answer = ask(one, component, u"GetExtents"_s, {screenCoordinates});
  QRect place;
  if (answer.canConvert<QDBusArgument>()) answer.value<QDBusArgument>() >> place;
  return place;
}

bool AccessibleTree::press(const Accessible& one) const {
  const auto number = one.actions.indexOf(pressName);
  return number >= 0 && ask(one, action, u"DoAction"_s, {static_cast<int>(number)}).toBool();
}

}  // namespace zolvex::test
