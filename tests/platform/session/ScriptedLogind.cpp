#include "platform/session/ScriptedLogind.h"

#include "platform/linux/LogindNames.h"

#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QDBusVariant>
#include <gtest/gtest.h>

#include <array>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace zolvex::test {

using namespace Qt::Literals::StringLiterals;

ScriptedLogind::~ScriptedLogind() {
  for (const int end : watchedEnds_) close(end);
}

void ScriptedLogind::start() {
  service_.emplace(busAddress_, logind::service, [this](const QDBusMessage& call) { return answer(call); });
  ASSERT_TRUE(service_->isRegistered());
}

QDBusMessage ScriptedLogind::answer(const QDBusMessage& call) {
  if (call.member() == u"Get"_s) return property(call);
  if (call.member() == u"GetSession"_s) return session(call);
  if (call.member() != u"Inhibit"_s) return call.createErrorReply(u"org.example.Unexpected"_s, call.member());
  if (refusesInhibitors) return call.createErrorReply(u"org.freedesktop.DBus.Error.AccessDenied"_s, u"no"_s);
  if (!keepsInhibitorsBack) return grantInhibitor(call);
  keptBack_.push_back(call);
  return {};
}

void ScriptedLogind::answerInhibit() {
  service_->connection().send(grantInhibitor(keptBack_.front()));
  keptBack_.pop_front();
}

QDBusMessage ScriptedLogind::grantInhibitor(const QDBusMessage& call) {
  std::array<int, 2> ends{};
  EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
  watchedEnds_.push_back(ends[0]);
  const auto reply = call.createReply(QVariant::fromValue(QDBusUnixFileDescriptor(ends[1])));
  close(ends[1]);  // the reply has a copy
  return reply;
}

bool ScriptedLogind::isHeld(std::size_t index) const {
  pollfd watched{watchedEnds_.at(index), POLLIN, 0};
  poll(&watched, 1, 0);
  return (watched.revents & POLLHUP) == 0;
}

QDBusMessage ScriptedLogind::property(const QDBusMessage& call) const {
  const auto name = call.arguments().value(1).toString();
  const auto value = name == u"LockedHint"_s ? isLocked : isPreparingForSleep;
  return call.createReply(QVariant::fromValue(QDBusVariant(value)));
}

QDBusMessage ScriptedLogind::session(const QDBusMessage& call) const {
  const auto path = sessions.value(call.arguments().value(0).toString()).toString();
  if (path.isEmpty()) return call.createErrorReply(u"org.freedesktop.login1.NoSuchSession"_s, u"No such session"_s);
  return call.createReply(QVariant::fromValue(QDBusObjectPath(path)));
}

void ScriptedLogind::emitSignal(const QString& path, const QString& interface, const QString& member,
                                const QVariantList& arguments) {
  auto signal = QDBusMessage::createSignal(path, interface, member);
  signal.setArguments(arguments);
  service_->connection().send(signal);
}

void ScriptedLogind::prepareForSleep(bool isGoingToSleep) {
  isPreparingForSleep = isGoingToSleep;
  emitSignal(logind::managerPath, logind::managerInterface, u"PrepareForSleep"_s, {isGoingToSleep});
}

void ScriptedLogind::askToLock(const QString& sessionPath, bool lock) {
  emitSignal(sessionPath, logind::sessionInterface, lock ? u"Lock"_s : u"Unlock"_s, {});
}

void ScriptedLogind::setLocked(const QString& sessionPath, bool locked) {
  isLocked = locked;
  emitSignal(sessionPath, u"org.freedesktop.DBus.Properties"_s, u"PropertiesChanged"_s,
             {logind::sessionInterface, QVariantMap{{u"LockedHint"_s, locked}}, QStringList()});
}

void ScriptedLogind::sessionBegins(const QString& id, const QString& path) {
  emitSignal(logind::managerPath, logind::managerInterface, u"SessionNew"_s,
             {id, QVariant::fromValue(QDBusObjectPath(path))});
}

void ScriptedLogind::sessionEnds(const QString& id, const QString& path) {
  emitSignal(logind::managerPath, logind::managerInterface, u"SessionRemoved"_s,
             {id, QVariant::fromValue(QDBusObjectPath(path))});
}

std::vector<QDBusMessage> ScriptedLogind::calls(const QString& method) const {
  std::vector<QDBusMessage> found;
  if (!service_) return found;
  for (const auto& call : service_->calls())
    if (call.member() == method) found.push_back(call);
  return found;
}

}  // namespace zolvex::test
