#include "lab/PrivateBus.h"
#include "platform/linux/AvahiDaemon.h"
#include "platform/linux/AvahiPublisher.h"
#include "platform/linux/BusLink.h"
#include "platform/linux/QtMainQueue.h"
#include "support/EventLoop.h"
#include "support/LogCapture.h"
#include "support/ScriptedService.h"

#include <QDBusObjectPath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {
namespace {

using test::runUntil;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// A daemon whose one entry group becomes what the test says.
class FakePublishingAvahi {
 public:
  explicit FakePublishingAvahi(const QString& busAddress)
      : service_(busAddress, u"org.freedesktop.Avahi"_s, [this](const QDBusMessage& call) { return answer(call); }) {
    EXPECT_TRUE(service_.isRegistered());
  }

  bool isEveryNameTaken = false;   // on this computer
  std::vector<std::string> names;  // for which it was asked, in order

  void tellEstablished() { tellState(2); }
  void tellCollision() { tellState(3); }

 private:
  QDBusMessage answer(const QDBusMessage& call) {
    constexpr int running = 2;
    if (call.member() == u"GetState"_s) return call.createReply(running);
    if (call.member() == u"EntryGroupNew"_s) return call.createReply(QVariant::fromValue(QDBusObjectPath(u"/group"_s)));
    if (call.member() != u"AddService"_s) return call.createReply();
    names.push_back(call.arguments().at(3).toString().toStdString());
    return isEveryNameTaken ? call.createErrorReply(u"org.freedesktop.Avahi.CollisionError"_s, u"taken"_s)
                            : call.createReply();
  }
  void tellState(int state) {
    auto signal = QDBusMessage::createSignal(u"/group"_s, u"org.freedesktop.Avahi.EntryGroup"_s, u"StateChanged"_s);
    signal.setArguments({state, QString()});
    service_.connection().send(signal);
  }

  test::ScriptedService service_;
};

struct PublisherEars final : ServicePublicationListener {
  void servicePublished(const std::string& name) override { published.push_back(name); }
  void servicePublicationFailed(const std::string& error) override { failures.push_back(error); }
  void servicePublicationLost() override { ++losses; }

  std::vector<std::string> published;
  std::vector<std::string> failures;
  int losses = 0;
};

class AvahiPublisherTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(bus.start()) << bus.errorString().toStdString();
    avahi.emplace(bus.address());
    link.emplace(queue, "system bus", bus.address().toStdString());
    daemon.emplace(*link);
    publisher.emplace(*daemon);
    link->start();
    ASSERT_TRUE(runUntil([&] { return daemon->isRunning(); }));
  }

  void publish() { publisher->publish({"Zolvex-ABC123", "_zolvex._tcp.", "local.", 4711, {}}, ears); }
  [[nodiscard]] bool asksForNames(std::size_t count) {
    return runUntil([&] { return avahi->names.size() >= count; });
  }
  [[nodiscard]] bool isPublished() {
    return runUntil([&] { return !ears.published.empty(); });
  }

  test::LogCapture log;
  lab::PrivateBus bus;
  QtMainQueue queue;
  std::optional<FakePublishingAvahi> avahi;
  std::optional<BusLink> link;
  std::optional<AvahiDaemon> daemon;
  PublisherEars ears;
  std::optional<AvahiPublisher> publisher;
};

TEST_F(AvahiPublisherTest, givesUpAfterTwentyNames) {
  avahi->isEveryNameTaken = true;
  publish();
  ASSERT_TRUE(runUntil([&] { return !ears.failures.empty(); }));
  EXPECT_THAT(ears.failures, ElementsAre("every name is taken"));
  ASSERT_THAT(avahi->names, SizeIs(20));
  EXPECT_EQ(avahi->names.front(), "Zolvex-ABC123");
  EXPECT_EQ(avahi->names.back(), "Zolvex-ABC123 #20");
}

TEST_F(AvahiPublisherTest, aNameThatIsTakenLaterOnIsLostAndFollowedByAnother) {
  publish();
  ASSERT_TRUE(asksForNames(1));
  avahi->tellEstablished();
  ASSERT_TRUE(isPublished());
  EXPECT_EQ(ears.losses, 0);
  avahi->tellCollision();
  ASSERT_TRUE(asksForNames(2));
  EXPECT_EQ(avahi->names.back(), "Zolvex-ABC123 #2");
  EXPECT_EQ(ears.losses, 1);
}

TEST_F(AvahiPublisherTest, aPublicationIsLostWithItsDaemonAndBeginsAnewWithTheWantedName) {
  log.expectError("lost the Avahi daemon, waiting for it");
  publish();
  ASSERT_TRUE(asksForNames(1));
  avahi->tellCollision();
  ASSERT_TRUE(asksForNames(2));
  avahi->tellEstablished();
  ASSERT_TRUE(isPublished());
  EXPECT_THAT(ears.published, ElementsAre("Zolvex-ABC123 #2"));
  ears.losses = 0;
  avahi.reset();
  ASSERT_TRUE(runUntil([&] { return ears.losses == 1; }));
  avahi.emplace(bus.address());
  ASSERT_TRUE(asksForNames(1));
  EXPECT_THAT(avahi->names, ElementsAre("Zolvex-ABC123"));
}

TEST_F(AvahiPublisherTest, whoeverPublishesNothingHearsNothingOfTheDaemonsEnd) {
  log.expectError("lost the Avahi daemon, waiting for it");
  publish();
  ASSERT_TRUE(asksForNames(1));
  publisher->unpublish();
  avahi.reset();
  ASSERT_TRUE(runUntil([&] { return !daemon->isRunning(); }));
  EXPECT_EQ(ears.losses, 0);
  EXPECT_THAT(ears.failures, IsEmpty());
}

}  // namespace
}  // namespace zolvex
