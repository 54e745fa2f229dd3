#include "platform/linux/AvahiPublisher.h"

#include "platform/linux/AvahiDaemon.h"

#include <QByteArrayList>
#include <QDBusMetaType>
#include <QVariant>

#include <algorithm>
#include <cstddef>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

const auto collisionError = u"org.freedesktop.Avahi.CollisionError"_s;

// AVAHI_ENTRY_GROUP_...
constexpr int groupEstablished = 2;
constexpr int groupCollision = 3;
constexpr int groupFailure = 4;

/// One string of a TXT record, cut between two characters to what fits there: with a longer one the daemon would
/// refuse the whole service.
QByteArray txtEntry(const std::string& key, const std::string& value) {
  constexpr std::size_t longestEntry = 255;  // bytes
  const auto entry = key + "=" + value;
  auto length = std::min(entry.size(), longestEntry);
  while (length < entry.size() && (static_cast<unsigned char>(entry[length]) & 0xC0) == 0x80) --length;
  return {entry.data(), static_cast<qsizetype>(length)};
}

QByteArrayList txtOf(const std::map<std::string, std::string>& record) {
  QByteArrayList entries;
  for (const auto& [key, value] : record) entries += txtEntry(key, value);
  return entries;
}

}  // namespace

AvahiPublisher::AvahiPublisher(AvahiDaemon& daemon)
    : daemon_(daemon),
      started_(daemon.started.observe([this] { begin(); })),
      ended_(daemon.ended.observe([this] { daemonEnded(); })) {
  qDBusRegisterMetaType<QByteArrayList>();
}

AvahiPublisher::~AvahiPublisher() {
  unpublish();
}

void AvahiPublisher::publish(const Service& service, ServicePublicationListener& listener) {
  unpublish();
  wanted_ = service;
  listener_ = &listener;
  begin();
}

void AvahiPublisher::updateTxtRecord(const std::map<std::string, std::string>& record) {
  if (!wanted_) return;
  wanted_->txtRecord = record;
  if (!group_ || !isGroupMade_) return;
  // It is refused when the service is not in the group, and then it is going to be added, with this record.
  group_->call(
      u"UpdateServiceTxt"_s,
      {avahi::anyInterface, avahi::anyProtocol, avahi::noFlags, QString::fromStdString(currentName()),
       avahi::withoutDot(wanted_->type), avahi::withoutDot(wanted_->domain), QVariant::fromValue(txtOf(record))},
      [](const QDBusMessage&) {});
}

void AvahiPublisher::unpublish() {
  wanted_.reset();
  listener_ = nullptr;
  group_.reset();
}

void AvahiPublisher::begin() {
  if (!wanted_ || !daemon_.isRunning()) return;
  nameNumber_ = 1;
  isGroupMade_ = false;
  AvahiObject::Events events;
  events.made = [this] {
    isGroupMade_ = true;
    addService();
  };
  events.signal = [this](const QDBusMessage& signal) {
    stateChanged(signal.arguments().value(0).toInt(), signal.arguments().value(1).toString());
  };
  events.failed = [this](const QString& error) { failed(error); };
  group_ = std::make_unique<AvahiObject>(daemon_, u"EntryGroup"_s, QVariantList(), std::move(events));
}

void AvahiPublisher::addService() {
  group_->call(u"AddService"_s,
               {avahi::anyInterface, avahi::anyProtocol, avahi::noFlags, QString::fromStdString(currentName()),
                avahi::withoutDot(wanted_->type), avahi::withoutDot(wanted_->domain), QString(),
                QVariant::fromValue(wanted_->port), QVariant::fromValue(txtOf(wanted_->txtRecord))},
               [this](const QDBusMessage& reply) { added(reply); });
}

void AvahiPublisher::added(const QDBusMessage& reply) {
  if (reply.type() != QDBusMessage::ErrorMessage) return commit();
  reply.errorName() == collisionError ? tryNextName() : failed(avahi::errorText(reply));
}

void AvahiPublisher::commit() {
  group_->call(u"Commit"_s, {}, [this](const QDBusMessage& reply) {
    if (reply.type() == QDBusMessage::ErrorMessage) failed(avahi::errorText(reply));
  });
}

void AvahiPublisher::stateChanged(int state, const QString& error) {
  if (state == groupEstablished) listener_->servicePublished(currentName());
  if (state == groupFailure) failed(error);
  if (state != groupCollision) return;
  listener_->servicePublicationLost();
  tryNextName();
}

void AvahiPublisher::tryNextName() {
  if (nameNumber_ == maximumNames) return failed(u"every name is taken"_s);
  ++nameNumber_;
  group_->call(u"Reset"_s, {}, [](const QDBusMessage&) {});
  addService();
}

void AvahiPublisher::failed(const QString& error) {
  group_.reset();
  listener_->servicePublicationFailed(error.toStdString());
}

void AvahiPublisher::daemonEnded() {
  if (std::exchange(group_, nullptr)) listener_->servicePublicationLost();
}

std::string AvahiPublisher::currentName() const {
  return nameNumber_ == 1 ? wanted_->name : wanted_->name + " #" + std::to_string(nameNumber_);
}

}  // namespace zolvex
