#include "platform/session/SessionWorld.h"

#include <QDBusMessage>
#include <QDBusPendingCall>

using namespace Qt::Literals::StringLiterals;

namespace zolvex::test {

EventRecorder::EventRecorder(SessionEvents& events) {
  for (const auto event : {SessionEvent::systemWillSleep, SessionEvent::systemDidWake, SessionEvent::displayDidSleep,
                           SessionEvent::displayDidWake, SessionEvent::screenLocked, SessionEvent::screenUnlocked})
    subscriptions_.push_back(events.observe(event, [this, event] { events_.push_back(event); }));
}

void SessionWorld::connectLink() {
  link.start();
  ASSERT_TRUE(runUntil([&] { return link.isConnected(); }));
}

bool SessionWorld::logs(const std::string& line, int times) {
  return runUntil([&] { return log.count(line) == times; });
}

void SessionWorld::settle() {
  // The bus answers a connection's questions in their order.
  auto question = QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                                                 u"org.freedesktop.DBus"_s, u"GetId"_s);
  const auto answer = link.connection().asyncCall(question);
  EXPECT_TRUE(runUntil([&] { return answer.isFinished(); }));
  runPending();
}

}  // namespace zolvex::test
