#include "control/ControlObject.h"

#include "control/ControlIntrospection.h"
#include "control/ControlTypes.h"

#include <QDBusError>
#include <QDBusVariant>
#include <QStringList>

#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace zolvex::control {

namespace {

using Result = std::variant<QVariantList, ControlError>;

constexpr auto applicationXml = R"(
  <interface name="org.freedesktop.Application">
    <method name="Activate">
      <arg name="platform_data" type="a{sv}" direction="in"/>
    </method>
    <method name="Open">
      <arg name="uris" type="as" direction="in"/>
      <arg name="platform_data" type="a{sv}" direction="in"/>
    </method>
    <method name="ActivateAction">
      <arg name="action_name" type="s" direction="in"/>
      <arg name="parameter" type="av" direction="in"/>
      <arg name="platform_data" type="a{sv}" direction="in"/>
    </method>
  </interface>
)";

Result resultOf(const Refusal& refusal) {
  return refusal ? Result(*refusal) : Result(QVariantList());
}

std::string text(const QVariant& argument) {
  return argument.toString().toStdString();
}

std::vector<std::string> texts(const QVariant& argument) {
  std::vector<std::string> result;
  for (const auto& item : argument.toStringList()) result.push_back(item.toStdString());
  return result;
}

PairedRows pairedRows(const PairedDeviceScan::Devices& paired, const std::vector<BluetoothPeripheral>& managed) {
  PairedRows rows;
  for (const auto& device : paired) {
    const bool isManaged =
        std::any_of(managed.begin(), managed.end(), [&](const auto& m) { return m.id == device.id; });
    const auto name = device.name.empty() ? u"Unknown Device"_s : QString::fromStdString(device.name);
    rows.append({QString::fromStdString(device.id), name, device.isConnected, isManaged});
  }
  return rows;
}

QDBusMessage errorReply(const QDBusMessage& call, const ControlError& error) {
  return call.createErrorReply(QString(error.name), QString::fromStdString(error.text));
}

}  // namespace

ControlObject::ControlObject(const Controlled& controlled, LogFeed& decisions)
    : use_(controlled), operations_(controlled), state_(controlled) {
  addMethods();
  addSetupMethods();
  assignments_ =
      state_.assigned.observe([this](const QString& name, const QVariant& value) { tellAssigned(name, value); });
  logLines_ = decisions.logged.observe(
      [this](const std::string& category, const std::string& message) { tellLogged(category, message); });
}

void ControlObject::add(const char* name, const char* signature, decltype(Method::run) run) {
  methods_.emplace(QString::fromLatin1(name), Method{QString::fromLatin1(signature), std::move(run)});
}

void ControlObject::addMethods() {
  add("ConnectToThisMac", "b", [this](const QVariantList& arguments, const Answer& answer) {
    answer(resultOf(operations_.connectToThisMac(arguments[0].toBool())));
  });
  add("ForceConnect", "b", [this](const QVariantList& arguments, const Answer& answer) {
    answer(resultOf(operations_.forceConnect(arguments[0].toBool())));
  });
  add("Release", "", [this](const QVariantList&, const Answer& answer) { answer(resultOf(operations_.release())); });
  add("Cancel", "", [this](const QVariantList&, const Answer& answer) { answer(QVariantList{operations_.cancel()}); });
  add("Show", "", [this](const QVariantList&, const Answer& answer) { answer(resultOf(operations_.show())); });
  add("Refresh", "", [this](const QVariantList&, const Answer& answer) {
    operations_.refresh();
    answer(QVariantList());
  });
}

void ControlObject::addSetupMethods() {
  add("PairedDevices", "", [this](const QVariantList&, const Answer& answer) {
    operations_.pairedDevices([this, answer](const PairedDeviceScan::Devices& paired) {
      answer(QVariantList{QVariant::fromValue(pairedRows(paired, use_.bluetoothStore.peripherals()))});
    });
  });
  add("ManageDevices", "as", [this](const QVariantList& arguments, const Answer& answer) {
    operations_.manageDevices(texts(arguments[0]), [answer](const Refusal& refusal) { answer(resultOf(refusal)); });
  });
  add("RegisterPeer", "s", [this](const QVariantList& arguments, const Answer& answer) {
    answer(resultOf(operations_.registerPeer(text(arguments[0]))));
  });
  add("RemovePeer", "",
      [this](const QVariantList&, const Answer& answer) { answer(resultOf(operations_.removePeer())); });
  add("SetTransportMode", "s", [this](const QVariantList& arguments, const Answer& answer) {
    answer(resultOf(operations_.settings().set("transportMode", arguments[0])));
  });
  add("Settings", "",
      [this](const QVariantList&, const Answer& answer) { answer(QVariantList{operations_.settings().all()}); });
  add("SetSetting", "sv", [this](const QVariantList& arguments, const Answer& answer) {
    const auto value = arguments[1].value<QDBusVariant>().variant();
    answer(resultOf(operations_.settings().set(text(arguments[0]), value)));
  });
}

QString ControlObject::introspect(const QString&) const {
  return QString::fromLatin1(introspectionXml) + QString::fromLatin1(applicationXml);
}

bool ControlObject::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
  const auto interface = message.interface();
  if (interface == propertiesInterface)
    callProperties(message, connection);
  else if (interface == applicationInterface)
    callApplication(message, connection);
  else if (interface == interfaceName || (interface.isEmpty() && methods_.contains(message.member())))
    callMethod(message, connection);
  else
    return false;
  return true;
}

void ControlObject::callMethod(const QDBusMessage& message, const QDBusConnection& connection) {
  const auto method = methods_.find(message.member());
  if (method == methods_.end()) {
    connection.send(message.createErrorReply(QDBusError::UnknownMethod, u"no such method"_s));
  } else if (message.signature() != method->second.signature) {
    const auto wanted = u"the arguments must be (%1)"_s.arg(method->second.signature);
    connection.send(message.createErrorReply(QDBusError::InvalidArgs, wanted));
  } else {
    method->second.run(message.arguments(), [message, connection](const Result& result) {
      const auto* values = std::get_if<QVariantList>(&result);
      connection.send(values ? message.createReply(*values) : errorReply(message, std::get<ControlError>(result)));
    });
  }
}

/// Whatever is activated: there is one window, and it opens no files.
void ControlObject::callApplication(const QDBusMessage& message, const QDBusConnection& connection) {
  const auto call = message.member() + u'(' + message.signature() + u')';
  if (call != "Activate(a{sv})"_L1 && call != "Open(asa{sv})"_L1 && call != "ActivateAction(sava{sv})"_L1) {
    connection.send(message.createErrorReply(QDBusError::UnknownMethod, u"no such method"_s));
    return;
  }
  const auto refusal = operations_.show();
  connection.send(refusal ? errorReply(message, *refusal) : message.createReply());
}

void ControlObject::callProperties(const QDBusMessage& message, const QDBusConnection& connection) {
  connection.send(propertyReply(message));
}

QDBusMessage ControlObject::propertyReply(const QDBusMessage& message) const {
  const auto call = message.member() + u'(' + message.signature() + u')';
  const auto arguments = message.arguments();
  const bool isOurs = !arguments.isEmpty() && (arguments[0] == interfaceName || arguments[0].toString().isEmpty());
  if (call == "GetAll(s)"_L1) return message.createReply(isOurs ? state_.all() : QVariantMap());
  if (call == "Set(ssv)"_L1)
    return message.createErrorReply(QDBusError::PropertyReadOnly, u"all properties are read-only"_s);
  if (call != "Get(ss)"_L1) return message.createErrorReply(QDBusError::UnknownMethod, u"no such method"_s);
  const auto value = isOurs ? state_.value(arguments[1].toString()) : QVariant();
  if (!value.isValid()) return message.createErrorReply(QDBusError::UnknownProperty, u"no such property"_s);
  return message.createReply(QVariant::fromValue(QDBusVariant(value)));
}

void ControlObject::tellAssigned(const QString& name, const QVariant& value) {
  if (!connection_) return;
  auto signal = QDBusMessage::createSignal(objectPath, propertiesInterface, u"PropertiesChanged"_s);
  signal << QString(interfaceName) << QVariantMap{{name, value}} << QStringList();
  connection_->send(signal);
}

void ControlObject::tellLogged(const std::string& category, const std::string& message) {
  if (!connection_) return;
  auto signal = QDBusMessage::createSignal(objectPath, interfaceName, u"Logged"_s);
  signal << QString::fromStdString(category) << QString::fromStdString(message);
  connection_->send(signal);
}

}  // namespace zolvex::control
