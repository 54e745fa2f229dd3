#include "platform/avahi/AvahiWorld.h"
#include "platform/linux/AvahiBrowser.h"
#include "platform/linux/AvahiDaemon.h"
#include "platform/linux/AvahiPublisher.h"
#include "platform/linux/BusLink.h"
#include "platform/linux/QtMainQueue.h"
#include "support/EventLoop.h"
#include "support/LogCapture.h"

#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace zolvex {
namespace {

using test::runUntil;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr auto serviceType = "_zolvex._tcp.";
constexpr auto serviceDomain = "local.";
constexpr Seconds resolveLimit{5.0};

/// Keeps what it hears, and resolves every service it finds.
struct Ears final : ServicePublicationListener, ServiceBrowserListener {
  explicit Ears(ServiceBrowser& theBrowser) : browser(theBrowser) {}

  void servicePublished(const std::string& name) override { published.push_back(name); }
  void servicePublicationFailed(const std::string& error) override { failures.push_back(error); }
  void servicePublicationLost() override { ++losses; }
  void serviceFound(const std::string& name, bool isLocal) override {
    found.push_back(name);
    local[name] = isLocal;
    browser.resolve(name, limit);
  }
  void serviceRemoved(const std::string& name) override { removed.push_back(name); }
  void serviceResolved(const std::string& name, const std::vector<std::string>& newAddresses,
                       std::uint16_t port) override {
    ++resolutions;
    addresses = newAddresses;
    ports[name] = port;
  }

  /// The name that holds now.
  std::string last() const { return published.empty() ? std::string() : published.back(); }

  ServiceBrowser& browser;
  Seconds limit = resolveLimit;
  std::vector<std::string> published;
  std::vector<std::string> failures;
  int losses = 0;
  std::vector<std::string> found;
  std::vector<std::string> removed;
  std::map<std::string, bool> local;
  std::map<std::string, std::uint16_t> ports;
  std::vector<std::string> addresses;
  int resolutions = 0;
};

/// One computer's side of the system bus.
struct Computer {
  Computer(MainQueue& queue, const QString& busAddress, AvahiDaemon::Patience patience = {})
      : link(queue, "system bus", busAddress.toStdString()), daemon(link, patience) {
    link.start();
  }

  void publish(const std::string& name, std::uint16_t port) {
    publisher.publish({name, serviceType, serviceDomain, port, {{"id", "1234"}, {"name", "Ann\xc3\xa9"}}}, ears);
  }
  void browse() { browser.searchForServices(serviceType, serviceDomain, ears); }

  /// Puts something on the network that Zolvex itself would not.
  void publishRaw(const QString& what, const QVariantList& arguments) {
    const auto call = [this](const QString& path, const QString& interface, const QString& member,
                             const QVariantList& values) {
      auto message = QDBusMessage::createMethodCall(u"org.freedesktop.Avahi"_s, path, interface, member);
      message.setArguments(values);
      const auto answer = link.connection().call(message);
      EXPECT_EQ(answer.type(), QDBusMessage::ReplyMessage) << answer.errorMessage().toStdString();
      return answer;
    };
    const auto group = call(u"/"_s, u"org.freedesktop.Avahi.Server"_s, u"EntryGroupNew"_s, {})
                           .arguments()
                           .value(0)
                           .value<QDBusObjectPath>()
                           .path();
    call(group, u"org.freedesktop.Avahi.EntryGroup"_s, what, arguments);
    call(group, u"org.freedesktop.Avahi.EntryGroup"_s, u"Commit"_s, {});
  }

  /// The TXT record of a service as the network shows it, in one text.
  std::string txtRecordOf(const QString& name) const {
    return qdbus_cast<QByteArrayList>(resolved(name).arguments().value(9)).join(';').toStdString();
  }

  /// What the daemon says of a service, seen over that interface.
  QDBusMessage resolved(const QString& name, int interface = -1) const {
    constexpr int any = -1;
    constexpr uint noFlags = 0;
    auto message = QDBusMessage::createMethodCall(u"org.freedesktop.Avahi"_s, u"/"_s, u"org.freedesktop.Avahi.Server"_s,
                                                  u"ResolveService"_s);
    message.setArguments({interface, any, name, u"_zolvex._tcp"_s, u"local"_s, any, noFlags});
    return link.connection().call(message);
  }

  BusLink link;
  AvahiDaemon daemon;
  AvahiPublisher publisher{daemon};
  AvahiBrowser browser{daemon};
  Ears ears{browser};
};

class AvahiTest : public testing::Test {
 protected:
  void SetUp() override {
    if (const auto obstacle = test::AvahiWorld::obstacle(); !obstacle.empty()) GTEST_SKIP() << obstacle;
    ASSERT_TRUE(world.start());
    studio.emplace(queue, world.busAddress(0));
    laptop.emplace(queue, world.busAddress(1));
  }
  void TearDown() override {
    studio.reset();
    laptop.reset();
  }

  /// Both daemons up before anybody asks for them.
  void startDaemons() {
    for (const int computer : {0, 1}) world.startDaemon(computer);
    ASSERT_TRUE(runUntil([&] { return studio->daemon.isRunning() && laptop->daemon.isRunning(); }));
  }

  /// What most tests begin with: the laptop has published, the studio has found and resolved it.
  void publishAndFind() {
    startDaemons();
    studio->browse();
    laptop->publish("Zolvex-ABC123", 4711);
    ASSERT_TRUE(runUntil([&] { return studio->ears.resolutions > 0 && !laptop->ears.published.empty(); }));
  }

  test::AvahiWorld world;
  QtMainQueue queue;
  std::optional<Computer> studio;
  std::optional<Computer> laptop;
};

TEST_F(AvahiTest, publishedServiceIsFoundOnceAndResolvedOnTheOtherComputer) {
  publishAndFind();
  EXPECT_THAT(laptop->ears.published, ElementsAre("Zolvex-ABC123"));
  EXPECT_THAT(studio->ears.found, ElementsAre("Zolvex-ABC123"));
  EXPECT_FALSE(studio->ears.local["Zolvex-ABC123"]);
  EXPECT_EQ(studio->ears.addresses.front(), "10.77.0.2");
  EXPECT_EQ(studio->ears.ports["Zolvex-ABC123"], 4711);
}

TEST_F(AvahiTest, aRecordThatIsTooLongIsCutInsteadOfRefused) {
  startDaemons();
  std::string longName;
  for (int i = 0; i < 200; ++i) longName += "\xc3\xa9";
  laptop->publisher.publish({"Zolvex-ABC123", serviceType, serviceDomain, 4711, {{"name", longName}}}, laptop->ears);
  EXPECT_TRUE(runUntil([&] { return !laptop->ears.published.empty() || !laptop->ears.failures.empty(); }));
  EXPECT_THAT(laptop->ears.failures, IsEmpty());
}

TEST_F(AvahiTest, aNewRecordIsSeenAndTheServiceStays) {
  publishAndFind();
  laptop->publisher.updateTxtRecord({{"name", "Studio"}});
  EXPECT_TRUE(runUntil([&] { return studio->txtRecordOf(u"Zolvex-ABC123"_s) == "name=Studio"; }));
  EXPECT_THAT(laptop->ears.published, SizeIs(1));
  EXPECT_THAT(studio->ears.removed, IsEmpty());
}

TEST_F(AvahiTest, aNewRecordCountsBeforeTheDaemonIsThere) {
  laptop->publish("Zolvex-ABC123", 4711);
  laptop->publisher.updateTxtRecord({{"name", "Studio"}});
  startDaemons();
  EXPECT_TRUE(runUntil([&] { return studio->txtRecordOf(u"Zolvex-ABC123"_s) == "name=Studio"; }));
}

TEST_F(AvahiTest, linkLocalAddressComesLastAndWithItsScope) {
  publishAndFind();
  ASSERT_TRUE(runUntil([&] { return studio->ears.addresses.size() == 2; }));
  EXPECT_EQ(studio->ears.addresses.front(), "10.77.0.2");
  EXPECT_THAT(studio->ears.addresses.back(), testing::MatchesRegex("fe80:.*%.+"));
}

TEST_F(AvahiTest, ownServiceIsFoundAsLocal) {
  startDaemons();
  laptop->browse();
  laptop->publish("Zolvex-ABC123", 4711);
  ASSERT_TRUE(runUntil([&] { return !laptop->ears.found.empty(); }));
  EXPECT_TRUE(laptop->ears.local["Zolvex-ABC123"]);
}

TEST_F(AvahiTest, unpublishedServiceIsRemoved) {
  publishAndFind();
  laptop->publisher.unpublish();
  ASSERT_TRUE(runUntil([&] { return !studio->ears.removed.empty(); }));
  EXPECT_THAT(studio->ears.removed, ElementsAre("Zolvex-ABC123"));
}

TEST_F(AvahiTest, newPortOfAServiceThatRestartedIsReported) {
  publishAndFind();
  laptop->publish("Zolvex-ABC123", 4712);
  EXPECT_TRUE(runUntil([&] { return studio->ears.ports["Zolvex-ABC123"] == 4712; }));
}

TEST_F(AvahiTest, serviceThatCannotBeResolvedAtFirstIsLookedUpAgain) {
  constexpr int any = -1;
  constexpr uint noFlags = 0;
  startDaemons();
  studio->ears.limit = Seconds(0.2);
  studio->browse();
  laptop->publishRaw(u"AddService"_s,
                     {any, any, noFlags, u"Zolvex-ABC123"_s, u"_zolvex._tcp"_s, u""_s, u"nowhere.local"_s,
                      QVariant::fromValue<ushort>(4711), QVariant::fromValue(QList<QByteArray>())});
  ASSERT_TRUE(runUntil([&] { return !studio->ears.found.empty(); }));
  // The first try has to be over, and nothing tells of its end.
  ASSERT_FALSE(runUntil([&] { return studio->ears.resolutions > 0; }, std::chrono::milliseconds(600)));
  laptop->publishRaw(u"AddAddress"_s, {any, any, noFlags, u"nowhere.local"_s, u"192.0.2.7"_s});
  ASSERT_TRUE(runUntil([&] { return studio->ears.resolutions > 0; }));
  EXPECT_THAT(studio->ears.addresses, ElementsAre("192.0.2.7"));
}

TEST_F(AvahiTest, serviceIsRemovedWithItsNetworkAndFoundAgain) {
  publishAndFind();
  world.unplug();
  ASSERT_TRUE(runUntil([&] { return !studio->ears.removed.empty(); }));
  world.plug();
  EXPECT_TRUE(runUntil([&] { return studio->ears.found.size() == 2; }));
}

TEST_F(AvahiTest, serviceThatLosesOneOfTwoCablesIsReachedOverTheOther) {
  publishAndFind();
  world.plug(test::AvahiWorld::spareCable);
  ASSERT_TRUE(runUntil([&] {
    const auto answer = studio->resolved(u"Zolvex-ABC123"_s, test::AvahiWorld::spareInterface);
    return answer.type() == QDBusMessage::ReplyMessage;
  }));
  ASSERT_EQ(studio->ears.addresses.front(), "10.77.0.2");
  world.unplug();
  EXPECT_TRUE(runUntil([&] { return studio->ears.addresses.front() == "10.78.0.2"; }));
  EXPECT_THAT(studio->ears.removed, IsEmpty());
}

TEST_F(AvahiTest, newPortOfAComputerThatLostItsPowerIsReported) {
  publishAndFind();
  test::LogCapture log;
  log.expectError("lost the Avahi daemon, waiting for it");
  world.killDaemon(1);
  ASSERT_TRUE(runUntil([&] { return !laptop->daemon.isRunning(); }));
  laptop->publish("Zolvex-ABC123", 4712);
  world.startDaemon(1);
  EXPECT_TRUE(runUntil([&] { return studio->ears.ports["Zolvex-ABC123"] == 4712; }));
  EXPECT_THAT(studio->ears.removed, IsEmpty());
}

TEST_F(AvahiTest, nameTakenOnTheNetworkIsFollowedByAnother) {
  publishAndFind();
  studio->publish("Zolvex-ABC123", 4712);
  const auto renamed = [&] { return studio->ears.last() != laptop->ears.last() && !studio->ears.published.empty(); };
  ASSERT_TRUE(runUntil(renamed));
  const std::set names{studio->ears.last(), laptop->ears.last()};
  EXPECT_THAT(names, ElementsAre("Zolvex-ABC123", "Zolvex-ABC123 #2"));
  // Each sees the other, whoever had to give way.
  EXPECT_TRUE(runUntil([&] { return studio->ears.ports[laptop->ears.last()] == 4711; }));
}

TEST_F(AvahiTest, nameTakenOnThisComputerIsFollowedByAnother) {
  startDaemons();
  AvahiPublisher other(studio->daemon);
  Ears otherEars(studio->browser);
  other.publish({"Zolvex-ABC123", serviceType, serviceDomain, 1, {}}, otherEars);
  ASSERT_TRUE(runUntil([&] { return !otherEars.published.empty(); }));
  studio->publish("Zolvex-ABC123", 2);
  ASSERT_TRUE(runUntil([&] { return !studio->ears.published.empty(); }));
  EXPECT_THAT(studio->ears.published, ElementsAre("Zolvex-ABC123 #2"));
}

TEST_F(AvahiTest, refusedPublicationIsReported) {
  startDaemons();
  studio->publish(std::string(64, 'x'), 4711);  // no DNS label is that long
  ASSERT_TRUE(runUntil([&] { return !studio->ears.failures.empty(); }));
  EXPECT_THAT(studio->ears.failures.front(), testing::StartsWith("org.freedesktop.Avahi.InvalidServiceName"));
  EXPECT_THAT(studio->ears.published, IsEmpty());
}

TEST_F(AvahiTest, daemonThatStartsLaterIsUsed) {
  test::LogCapture log;
  log.expectError("no Avahi daemon yet, waiting for it");
  studio->browse();
  laptop->publish("Zolvex-ABC123", 4711);
  ASSERT_TRUE(runUntil([&] { return log.count("no Avahi daemon yet, waiting for it") == 2; }));
  for (const int computer : {0, 1}) world.startDaemon(computer);
  EXPECT_TRUE(runUntil([&] { return studio->ears.resolutions > 0; }));
}

TEST_F(AvahiTest, daemonThatHangsAtFirstIsUsedOnceItGoesOn) {
  constexpr auto notAnswering = "the Avahi daemon does not answer, asking again: ";
  startDaemons();
  laptop->publish("Zolvex-ABC123", 4711);
  world.hangDaemon(0);
  test::LogCapture log;
  log.expectError(notAnswering);
  Computer latecomer(queue, world.busAddress(0), {.stateLimit = 100ms, .pause = 10ms});
  latecomer.browse();
  const auto complaints = [&] {
    const auto lines = log.lines();
    return std::count_if(lines.begin(), lines.end(), [&](const auto& line) { return line.starts_with(notAnswering); });
  };
  ASSERT_TRUE(runUntil([&] { return complaints() > 0; }));
  EXPECT_FALSE(latecomer.daemon.isRunning());
  world.resumeDaemon(0);
  EXPECT_TRUE(runUntil([&] { return latecomer.ears.resolutions > 0; }));
  EXPECT_EQ(complaints(), 1);
}

TEST_F(AvahiTest, daemonThatHangsWhileItIsPublishingIsAskedAnewOnceItGoesOn) {
  startDaemons();
  Computer hasty(queue, world.busAddress(0), {.stateLimit = 100ms, .callLimit = 100ms, .pause = 10ms});
  ASSERT_TRUE(runUntil([&] { return hasty.daemon.isRunning(); }));
  test::LogCapture log;
  log.expectError("the Avahi daemon does not answer, asking again: ");
  world.hangDaemon(0);
  hasty.publish("Zolvex-ABC123", 4711);
  ASSERT_TRUE(runUntil([&] { return !hasty.daemon.isRunning(); }));
  world.resumeDaemon(0);
  ASSERT_TRUE(runUntil([&] { return !hasty.ears.published.empty(); }));
  EXPECT_THAT(hasty.ears.published, ElementsAre("Zolvex-ABC123"));
  EXPECT_THAT(hasty.ears.failures, IsEmpty());
}

TEST_F(AvahiTest, serviceIsPublishedAnewWhenTheDaemonRestarts) {
  publishAndFind();
  test::LogCapture log;
  log.expectError("lost the Avahi daemon, waiting for it");
  world.stopDaemon(1);
  ASSERT_TRUE(runUntil([&] { return !studio->ears.removed.empty(); }));
  world.startDaemon(1);
  ASSERT_TRUE(runUntil([&] { return studio->ears.found.size() == 2; }));
  ASSERT_TRUE(runUntil([&] { return laptop->ears.published.size() == 2; }));
  EXPECT_EQ(laptop->ears.losses, 1);
}

TEST_F(AvahiTest, serviceSeenBeforeAndAfterARestartOfTheDaemonIsKeptAndLookedUpAgain) {
  publishAndFind();
  test::LogCapture log;
  log.expectError("lost the Avahi daemon, waiting for it");
  world.stopDaemon(0);
  ASSERT_TRUE(runUntil([&] { return !studio->daemon.isRunning(); }));
  laptop->publish("Zolvex-ABC123", 4712);
  world.startDaemon(0);
  EXPECT_TRUE(runUntil([&] { return studio->ears.ports["Zolvex-ABC123"] == 4712; }));
  EXPECT_THAT(studio->ears.found, SizeIs(1));
  EXPECT_THAT(studio->ears.removed, IsEmpty());
}

TEST_F(AvahiTest, serviceThatWentWhileTheDaemonWasAwayIsRemoved) {
  publishAndFind();
  test::LogCapture log;
  log.expectError("lost the Avahi daemon, waiting for it");
  world.stopDaemon(0);
  ASSERT_TRUE(runUntil([&] { return !studio->daemon.isRunning(); }));
  laptop->publisher.unpublish();
  world.startDaemon(0);
  ASSERT_TRUE(runUntil([&] { return !studio->ears.removed.empty(); }));
  EXPECT_THAT(studio->ears.removed, ElementsAre("Zolvex-ABC123"));
}

TEST_F(AvahiTest, busThatVanishesAndReturnsIsUsedAgain) {
  publishAndFind();
  test::LogCapture log;
  log.expectError("lost the ");
  world.stopBus(1);
  ASSERT_TRUE(runUntil([&] { return !laptop->link.isConnected(); }));
  world.stopDaemon(1);
  ASSERT_TRUE(runUntil([&] { return !studio->ears.removed.empty(); }));
  world.startBus(1);
  world.startDaemon(1);
  EXPECT_TRUE(runUntil([&] { return laptop->ears.published.size() == 2; }));
  EXPECT_TRUE(runUntil([&] { return studio->ears.found.size() == 2; }));
}

TEST_F(AvahiTest, nothingIsHeardAfterStopping) {
  publishAndFind();
  studio->browser.stop();
  laptop->publisher.unpublish();
  laptop->publish("Zolvex-DEF456", 4711);
  ASSERT_TRUE(runUntil([&] { return laptop->ears.published.size() == 2; }));
  AvahiBrowser witness(studio->daemon);
  Ears witnessEars(witness);
  witness.searchForServices(serviceType, serviceDomain, witnessEars);
  ASSERT_TRUE(runUntil([&] { return !witnessEars.found.empty(); }));
  EXPECT_THAT(studio->ears.found, SizeIs(1));
  EXPECT_THAT(studio->ears.removed, IsEmpty());
}

}  // namespace
}  // namespace zolvex
