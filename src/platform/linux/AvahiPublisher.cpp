#include "platform/linux/AvahiPublisher.h"

#include "platform/linux/AvahiDaemon.h"
#include "platform/linux/AvahiNames.h"

#include <QByteArrayList>
#include <QDBusMetaType>
#include <QVariant>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

const auto serverInterface = u"org.freedesktop.Avahi.Server"_s;
const auto groupInterface = u"org.freedesktop.Avahi.EntryGroup"_s;
const auto collisionError = u"org.freedesktop.Avahi.CollisionError"_s;

// AVAHI_ENTRY_GROUP_...
constexpr int groupEstablished = 2;
constexpr int groupCollision = 3;
constexpr int groupFailure = 4;

constexpr uint noFlags = 0;

QByteArrayList txtOf(const std::map<std::string, std::string>& record) {
  QByteArrayList entries;
  for (const auto& [key, value] : record) entries += QByteArray::fromStdString(key + "=" + value);
  return entries;
}

QString textOf(const QDBusMessage& error) {
  return error.errorName() + u": "_s + error.errorMessage();
}

}  // namespace

AvahiPublisher::AvahiPublisher(AvahiDaemon& daemon)
    : daemon_(daemon),
      started_(daemon.started.observe([this] { begin(); })),
      ended_(daemon.ended.observe([this] { dropGroup(); })) {
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

void AvahiPublisher::unpublish() {
  wanted_.reset();
  listener_ = nullptr;
  dropGroup();
}

void AvahiPublisher::begin() {
  if (!wanted_ || !daemon_.isRunning()) return;
  dropGroup();
  nameNumber_ = 1;
  daemon_.callServer(serverInterface, u"EntryGroupNew"_s, {}, this,
                     [this, attempt = attempt_](const QDBusMessage& reply) {
                       const auto path = avahi::pathIn(reply);
                       if (attempt != attempt_) return daemon_.tell(path, groupInterface, u"Free"_s);
                       path.isEmpty() ? failed(textOf(reply)) : groupMade(path);
                     });
}

void AvahiPublisher::groupMade(const QString& path) {
  groupPath_ = path;
  daemon_.listen(path, groupInterface, u"StateChanged"_s, this, SLOT(stateChanged(QDBusMessage)));
  addService();
}

void AvahiPublisher::addService() {
  const auto txt = QVariant::fromValue(txtOf(wanted_->txtRecord));
  daemon_.call(groupPath_, groupInterface, u"AddService"_s,
               {avahi::anyInterface, avahi::anyProtocol, noFlags, QString::fromStdString(currentName()),
                avahi::withoutDot(wanted_->type), avahi::withoutDot(wanted_->domain), QString(),
                QVariant::fromValue(wanted_->port), txt},
               this, [this, attempt = attempt_](const QDBusMessage& reply) {
                 if (attempt == attempt_) added(reply);
               });
}

void AvahiPublisher::added(const QDBusMessage& reply) {
  if (reply.type() != QDBusMessage::ErrorMessage) return commit();
  reply.errorName() == collisionError ? tryNextName() : failed(textOf(reply));
}

void AvahiPublisher::commit() {
  daemon_.call(groupPath_, groupInterface, u"Commit"_s, {}, this,
               [this, attempt = attempt_](const QDBusMessage& reply) {
                 if (attempt == attempt_ && reply.type() == QDBusMessage::ErrorMessage) failed(textOf(reply));
               });
}

void AvahiPublisher::stateChanged(const QDBusMessage& message) {
  if (groupPath_.isEmpty() || message.path() != groupPath_) return;
  const auto state = message.arguments().value(0).toInt();
  if (state == groupEstablished) listener_->servicePublished(currentName());
  if (state == groupCollision) tryNextName();
  if (state == groupFailure) failed(message.arguments().value(1).toString());
}

void AvahiPublisher::tryNextName() {
  if (nameNumber_ == maximumNames) return failed(u"every name is taken"_s);
  ++nameNumber_;
  daemon_.tell(groupPath_, groupInterface, u"Reset"_s);
  addService();
}

void AvahiPublisher::failed(const QString& error) {
  dropGroup();
  listener_->servicePublicationFailed(error.toStdString());
}

std::string AvahiPublisher::currentName() const {
  return nameNumber_ == 1 ? wanted_->name : wanted_->name + " #" + std::to_string(nameNumber_);
}

void AvahiPublisher::dropGroup() {
  ++attempt_;
  if (groupPath_.isEmpty()) return;
  daemon_.ignore(groupPath_, groupInterface, u"StateChanged"_s, this, SLOT(stateChanged(QDBusMessage)));
  daemon_.tell(groupPath_, groupInterface, u"Free"_s);
  groupPath_.clear();
}

}  // namespace zolvex
