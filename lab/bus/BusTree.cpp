#include "lab/bus/BusTree.h"

#include "lab/bus/BusNames.h"

#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVariant>

#include <algorithm>

namespace zolvex::lab {

using namespace Qt::StringLiterals;

namespace {

using InterfaceMap = QMap<QString, QVariantMap>;
using ObjectMap = QMap<QDBusObjectPath, InterfaceMap>;

const auto objectManager = u"org.freedesktop.DBus.ObjectManager"_s;
const auto introspectable = u"org.freedesktop.DBus.Introspectable"_s;
const auto unknownObject = u"org.freedesktop.DBus.Error.UnknownObject"_s;
const auto unknownMethod = u"org.freedesktop.DBus.Error.UnknownMethod"_s;
const auto unknownInterface = u"org.freedesktop.DBus.Error.UnknownInterface"_s;

constexpr auto objectManagerXml = R"(<interface name="org.freedesktop.DBus.ObjectManager">
<method name="GetManagedObjects"><arg name="objects" type="a{oa{sa{sv}}}" direction="out"/></method>
<signal name="InterfacesAdded"><arg name="object" type="o"/><arg name="interfaces" type="a{sa{sv}}"/></signal>
<signal name="InterfacesRemoved"><arg name="object" type="o"/><arg name="interfaces" type="as"/></signal>
</interface>
)";

// Every object of the tree has these two besides its own.
InterfaceMap withStandardInterfaces(InterfaceMap map) {
  map.insert(introspectable, {});
  map.insert(propertiesInterface, {});
  return map;
}

QString prefixOf(const QString& path) {
  return path == u"/"_s ? path : path + u'/';
}

}  // namespace

void BusInterface::setProperty(const BusCall& call, const QString& property, const QVariant&) {
  call.fail(u"org.freedesktop.DBus.Error.PropertyReadOnly"_s, u"Property '%1' is not writable"_s.arg(property));
}

BusTree::BusTree(const QDBusConnection& connection, QObject* parent)
    : QDBusVirtualObject(parent), connection_(connection) {
  qDBusRegisterMetaType<InterfaceMap>();
  qDBusRegisterMetaType<ObjectMap>();
}

BusTree::~BusTree() {
  connection_.unregisterObject(u"/"_s, QDBusConnection::UnregisterTree);
}

bool BusTree::attach() {
  const auto bus = u"org.freedesktop.DBus"_s;
  return connection_.registerVirtualObject(u"/"_s, this, QDBusConnection::SubPath) &&
         connection_.connect(bus, u"/org/freedesktop/DBus"_s, bus, u"NameOwnerChanged"_s, this,
                             SLOT(onNameOwnerChanged(QString, QString, QString)));
}

void BusTree::add(const QString& path, std::vector<std::shared_ptr<BusInterface>> interfaces) {
  Object object{std::move(interfaces), {}};
  for (const auto& interface : object.interfaces) object.announced.insert(interface->name(), interface->properties());
  const auto announced = object.announced;
  objects_.insert(path, object);
  sendSignal(u"/"_s, objectManager, u"InterfacesAdded"_s,
             {QVariant::fromValue(QDBusObjectPath(path)), QVariant::fromValue(withStandardInterfaces(announced))});
}

void BusTree::remove(const QString& path) {
  const auto object = objects_.take(path);
  if (object.interfaces.empty()) return;
  const QStringList names = withStandardInterfaces(object.announced).keys();
  sendSignal(u"/"_s, objectManager, u"InterfacesRemoved"_s, {QVariant::fromValue(QDBusObjectPath(path)), names});
}

void BusTree::publishChanges(const QString& path) {
  const auto found = objects_.find(path);
  if (found == objects_.end()) return;
  for (const auto& interface : found->interfaces) {
    const auto now = interface->properties();
    const auto before = std::exchange(found->announced[interface->name()], now);
    const auto silent = interface->silentProperties();
    QVariantMap changed;
    for (auto it = now.begin(); it != now.end(); ++it)
      if (!silent.contains(it.key()) && (!before.contains(it.key()) || before.value(it.key()) != it.value()))
        changed.insert(it.key(), it.value());
    QStringList gone;
    for (const auto& key : before.keys())
      if (!now.contains(key)) gone.append(key);
    if (changed.isEmpty() && gone.isEmpty()) continue;
    sendSignal(path, propertiesInterface, u"PropertiesChanged"_s, {interface->name(), changed, gone});
  }
}

void BusTree::announce(const QString& path, const QString& interface, const QString& property) {
  const auto found = objects_.find(path);
  if (found == objects_.end()) return;
  const QVariantMap changed{{property, found->announced.value(interface).value(property)}};
  sendSignal(path, propertiesInterface, u"PropertiesChanged"_s, {interface, changed, QStringList{}});
}

QString BusTree::introspect(const QString& path) const {
  QString xml;
  if (path == u"/"_s) xml += QLatin1String(objectManagerXml);
  // Qt itself adds the interfaces that every object has.
  if (const auto found = objects_.find(path); found != objects_.end())
    for (const auto& interface : found->interfaces)
      xml += u"<interface name=\"%1\">\n%2</interface>\n"_s.arg(interface->name(), interface->introspection());
  for (const auto& child : childrenOf(path)) xml += u"<node name=\"%1\"/>\n"_s.arg(child);
  return xml;
}

bool BusTree::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
  if (message.interface() == introspectable) return false;
  const BusCall call(message, connection,
                     [this](const BusCall& ended, const QString& errorName) { Q_EMIT answered(ended, errorName); });
  if (holdsCalls_)
    heldCalls_.push_back(call);
  else
    handle(call);
  return true;
}

void BusTree::holdCalls(bool hold) {
  holdsCalls_ = hold;
  if (hold) return;
  for (const auto& call : std::exchange(heldCalls_, {})) handle(call);
}

void BusTree::handle(const BusCall& call) {
  if (call.path() == u"/"_s && call.member() == u"GetManagedObjects"_s) return answerManagedObjects(call);
  const auto found = objects_.find(call.path());
  if (found != objects_.end() && call.interface() == propertiesInterface) return handleProperties(call, *found);
  // A copy, because the call may withdraw the very object that it was sent to.
  const auto object = found == objects_.end() ? Object{} : *found;
  auto* interface = find(object, call.interface());
  if (interface && interface->handle(call)) return;
  const auto text = u"Method \"%1\" with signature \"%2\" on interface \"%3\" doesn't exist\n"_s.arg(
      call.member(), call.signature(), call.interface());
  call.fail(found != objects_.end() || isAncestor(call.path()) ? unknownMethod : unknownObject, text);
}

void BusTree::handleProperties(const BusCall& call, Object& object) {
  const auto arguments = call.arguments();
  auto* interface = find(object, arguments.value(0).toString());
  if (!interface) return call.fail(unknownInterface, u"No such interface '%1'"_s.arg(arguments.value(0).toString()));
  const auto values = interface->properties();
  if (call.member() == u"GetAll"_s) return call.reply({values});
  const auto property = arguments.value(1).toString();
  if (!values.contains(property)) return call.fail(invalidArguments, u"No such property '%1'"_s.arg(property));
  if (call.member() == u"Get"_s) return call.reply({QVariant::fromValue(QDBusVariant(values.value(property)))});
  if (call.member() == u"Set"_s)
    return interface->setProperty(call, property, arguments.value(2).value<QDBusVariant>().variant());
  call.fail(unknownMethod, u"No such method '%1'"_s.arg(call.member()));
}

void BusTree::answerManagedObjects(const BusCall& call) const {
  ObjectMap all;
  for (auto object = objects_.begin(); object != objects_.end(); ++object) {
    InterfaceMap interfaces;
    for (const auto& interface : object->interfaces) interfaces.insert(interface->name(), interface->properties());
    all.insert(QDBusObjectPath(object.key()), withStandardInterfaces(interfaces));
  }
  call.reply({QVariant::fromValue(all)});
}

QStringList BusTree::childrenOf(const QString& path) const {
  QSet<QString> children;
  const auto prefix = prefixOf(path);
  for (const auto& other : objects_.keys())
    if (other != path && other.startsWith(prefix)) children.insert(other.mid(prefix.size()).section(u'/', 0, 0));
  return children.values();
}

bool BusTree::isAncestor(const QString& path) const {
  return !childrenOf(path).isEmpty();
}

BusInterface* BusTree::find(const Object& object, const QString& interface) {
  const auto found = std::ranges::find_if(object.interfaces, [&](const auto& one) { return one->name() == interface; });
  return found == object.interfaces.end() ? nullptr : found->get();
}

void BusTree::onNameOwnerChanged(const QString& name, const QString&, const QString& newOwner) {
  if (newOwner.isEmpty() && name.startsWith(u':')) Q_EMIT clientLeft(name);
}

void BusTree::sendSignal(const QString& path, const QString& interface, const QString& member,
                         const QVariantList& values) {
  auto signal = QDBusMessage::createSignal(path, interface, member);
  signal.setArguments(values);
  connection_.send(signal);
}

}  // namespace zolvex::lab
