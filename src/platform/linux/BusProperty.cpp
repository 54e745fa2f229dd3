#include "platform/linux/BusProperty.h"

#include "platform/linux/BusService.h"

#include <QDBusArgument>
#include <QDBusVariant>
#include <QStringList>
#include <QVariantMap>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

const auto propertiesInterface = u"org.freedesktop.DBus.Properties"_s;

}  // namespace

BusProperty::BusProperty(BusService& service, Name name, Events events)
    : service_(service),
      name_(std::move(name)),
      events_(std::move(events)),
      appearance_(service.appeared.observe([this] { ask(); })),
      absence_(service.absent.observe([this] { events_.lost(); })),
      changes_(service.listen(name_.path, propertiesInterface, u"PropertiesChanged"_s,
                              [this](const QDBusMessage& signal) { propertiesChanged(signal); })) {
  if (service.isPresent()) ask();
}

void BusProperty::ask() {
  service_.call(name_.path, propertiesInterface, u"Get"_s, {name_.interface, name_.property},
                lifetime_.guard([this](const QDBusMessage& reply) { answered(reply); }));
}

void BusProperty::answered(const QDBusMessage& reply) {
  const auto value = reply.arguments().value(0).value<QDBusVariant>().variant();
  reply.type() == QDBusMessage::ReplyMessage&& value.isValid() ? events_.found(value) : events_.lost();
}

void BusProperty::propertiesChanged(const QDBusMessage& signal) {
  if (signal.signature() != "sa{sv}as"_L1 || signal.arguments().at(0).toString() != name_.interface) return;
  const auto values = qdbus_cast<QVariantMap>(signal.arguments().at(1));
  if (const auto value = values.value(name_.property); value.isValid()) return events_.changed(value);
  if (signal.arguments().at(2).toStringList().contains(name_.property)) ask();
}

}  // namespace zolvex
