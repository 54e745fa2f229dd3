#include "platform/linux/BusService.h"
#include "platform/session/SessionWorld.h"
#include "support/ScriptedService.h"

#include <optional>
#include <string>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

constexpr Logger logger("Test");

struct BusServiceTest : SessionWorld {
  void serve() {
    instance.emplace(bus.address(), u"org.example.Service"_s, [this](const QDBusMessage& call) {
      return answers ? call.createReply(u"an answer"_s) : QDBusMessage();
    });
    ASSERT_TRUE(instance->isRegistered());
  }
  void emitSignal(QDBusConnection& from, const QString& text) {
    auto signal = QDBusMessage::createSignal(u"/object"_s, u"org.example.Interface"_s, u"Happened"_s);
    from.send(signal << text);
  }
  [[nodiscard]] Subscription listen(const QString& path) {
    return service.listen(path, u"org.example.Interface"_s, u"Happened"_s,
                          [this](const QDBusMessage& signal) { heard << signal.arguments().at(0).toString(); });
  }
  void call() {
    service.call(u"/object"_s, u"org.example.Interface"_s, u"Ask"_s, {},
                 [this](const QDBusMessage& reply) { replies.push_back(reply.type()); });
  }

  BusService service{queue, link, u"org.example.Service"_s, logger};
  std::optional<ScriptedService> instance;
  bool answers = true;
  int appearances = 0;
  int absences = 0;
  Subscription appearance = service.appeared.observe([this] { ++appearances; });
  Subscription absence = service.absent.observe([this] { ++absences; });
  QStringList heard;
  std::vector<QDBusMessage::MessageType> replies;
};

TEST_F(BusServiceTest, findsAServiceThatIsThere) {
  serve();
  connectLink();
  ASSERT_TRUE(logs("found org.example.Service"));
  EXPECT_TRUE(service.isPresent());
  EXPECT_EQ(appearances, 1);
  EXPECT_EQ(absences, 0);
}

TEST_F(BusServiceTest, waitsForAServiceThatComesLater) {
  connectLink();
  ASSERT_TRUE(logs("no org.example.Service yet, waiting for it"));
  EXPECT_EQ(absences, 1);
  serve();
  ASSERT_TRUE(logs("found org.example.Service"));
  EXPECT_EQ(appearances, 1);
}

TEST_F(BusServiceTest, tellsOfAnEndAndAReturn) {
  serve();
  connectLink();
  ASSERT_TRUE(logs("found org.example.Service"));
  instance.reset();
  ASSERT_TRUE(logs("lost org.example.Service, waiting for it"));
  EXPECT_FALSE(service.isPresent());
  EXPECT_EQ(absences, 1);
  serve();
  ASSERT_TRUE(logs("found org.example.Service", 2));
  EXPECT_EQ(appearances, 2);
}

TEST_F(BusServiceTest, losesTheServiceTogetherWithTheBus) {
  log.expectError("lost the test bus");
  serve();
  connectLink();
  ASSERT_TRUE(logs("found org.example.Service"));
  bus.stop();
  ASSERT_TRUE(logs("lost org.example.Service, waiting for it"));
  instance.reset();
  ASSERT_TRUE(bus.start());
  serve();
  ASSERT_TRUE(logs("found org.example.Service", 2));
}

TEST_F(BusServiceTest, hearsItsSignalsAlsoAfterARestart) {
  const auto subscription = listen(u"/object"_s);
  serve();
  connectLink();
  ASSERT_TRUE(logs("found org.example.Service"));
  settle();
  emitSignal(instance->connection(), u"one"_s);
  ASSERT_TRUE(runUntil([&] { return heard == QStringList{u"one"_s}; }));
  instance.reset();
  serve();
  ASSERT_TRUE(logs("found org.example.Service", 2));
  settle();
  emitSignal(instance->connection(), u"two"_s);
  EXPECT_TRUE(runUntil([&] { return heard == QStringList{u"one"_s, u"two"_s}; }));
}

TEST_F(BusServiceTest, hearsASignalOnlyFromTheServiceAndOnlyWhileSubscribed) {
  const auto everywhere = listen({});
  auto here = listen(u"/object"_s);
  const auto elsewhere = listen(u"/elsewhere"_s);
  serve();
  connectLink();
  ASSERT_TRUE(logs("found org.example.Service"));
  ScriptedService stranger(bus.address(), u"org.example.Stranger"_s,
                           [](const QDBusMessage&) { return QDBusMessage(); });
  settle();
  emitSignal(stranger.connection(), u"from a stranger"_s);
  emitSignal(instance->connection(), u"one"_s);
  ASSERT_TRUE(runUntil([&] { return heard == QStringList{u"one"_s, u"one"_s}; }));
  here.cancel();
  emitSignal(instance->connection(), u"two"_s);
  EXPECT_TRUE(runUntil([&] { return heard == QStringList{u"one"_s, u"one"_s, u"two"_s}; }));
  settle();
  EXPECT_EQ(heard.size(), 3);
}

TEST_F(BusServiceTest, aListenerMayLeaveWithinASignal) {
  Subscription first;
  first = service.listen({}, u"org.example.Interface"_s, u"Happened"_s, [&](const QDBusMessage&) { first.cancel(); });
  const auto second = listen({});
  serve();
  connectLink();
  ASSERT_TRUE(logs("found org.example.Service"));
  settle();
  emitSignal(instance->connection(), u"one"_s);
  EXPECT_TRUE(runUntil([&] { return heard == QStringList{u"one"_s}; }));
}

TEST_F(BusServiceTest, answersOfAnEndedInstanceAreDropped) {
  answers = false;
  serve();
  connectLink();
  ASSERT_TRUE(logs("found org.example.Service"));
  call();
  ASSERT_TRUE(runUntil([&] { return instance->calls().size() == 1; }));
  instance.reset();
  ASSERT_TRUE(logs("lost org.example.Service, waiting for it"));
  settle();
  EXPECT_TRUE(replies.empty());
}

TEST_F(BusServiceTest, aServiceThatIsSilentIsLoggedOnceAndAskedAgain) {
  log.expectError("org.example.Service does not answer");
  answers = false;
  serve();
  connectLink();
  ASSERT_TRUE(logs("found org.example.Service"));
  call();
  call();
  ASSERT_TRUE(runUntil([&] { return replies.size() == 2; }));
  EXPECT_EQ(replies.front(), QDBusMessage::ErrorMessage);
  EXPECT_EQ(log.count("org.example.Service does not answer"), 1);
  EXPECT_EQ(appearances, 1);
  answers = true;
  queue.advance(BusService::silenceRetryInterval);
  EXPECT_EQ(appearances, 2);
  call();
  EXPECT_TRUE(logs("org.example.Service answers again"));
}

}  // namespace
}  // namespace zolvex::test
