#include "lab/PrivateBus.h"
#include "platform/linux/AvahiBrowser.h"
#include "platform/linux/AvahiDaemon.h"
#include "platform/linux/AvahiResolver.h"
#include "platform/linux/BusLink.h"
#include "platform/linux/QtMainQueue.h"
#include "support/EventLoop.h"
#include "support/LogCapture.h"
#include "support/ScriptedService.h"

#include <QByteArrayList>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <optional>
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

constexpr int lookUpsOfAService = 2;  // one for each address family
constexpr auto failure = "Cannot browse for peers: ";

/// A daemon that makes what it is asked for and says what the test says.
class FakeAvahi {
 public:
  explicit FakeAvahi(const QString& busAddress)
      : service_(busAddress, u"org.freedesktop.Avahi"_s, [this](const QDBusMessage& call) { return answer(call); }) {
    qDBusRegisterMetaType<QByteArrayList>();
    EXPECT_TRUE(service_.isRegistered());
  }

  int browsers = 0;  // made so far; the newest one speaks
  int resolvers = 0;

  void tellNew(const QString& name, int interface = cable) { tell(u"ItemNew"_s, item(name, interface)); }
  void tellRemove(const QString& name, int interface = cable) { tell(u"ItemRemove"_s, item(name, interface)); }
  void tellAllForNow() { tell(u"AllForNow"_s, {}); }
  void tellFailure() { tell(u"Failure"_s, {u"it broke"_s}); }

  /// The resolvers are numbered from 1; those for IPv4 and IPv6 take turns.
  void tellFound(int resolver, const QString& address) {
    constexpr int anyProtocol = -1;
    constexpr uint noFlags = 0;
    tellOfResolver(resolver, u"Found"_s,
                   {cable, anyProtocol, u"Zolvex-A"_s, u"_zolvex._tcp"_s, u"local"_s, u"a.local"_s, anyProtocol,
                    address, QVariant::fromValue<ushort>(4711), QVariant::fromValue(QByteArrayList()), noFlags});
  }
  void tellNotFound(int resolver) { tellOfResolver(resolver, u"Failure"_s, {u"Timeout reached"_s}); }

  static constexpr int cable = 2;  // interfaces
  static constexpr int wireless = 3;

 private:
  QDBusMessage answer(const QDBusMessage& call) {
    constexpr int running = 2;
    if (call.member() == u"GetState"_s) return call.createReply(running);
    if (call.member() == u"ServiceBrowserNew"_s) return call.createReply(path(u"/browser"_s, ++browsers));
    if (call.member() == u"ServiceResolverNew"_s) return call.createReply(path(u"/resolver"_s, ++resolvers));
    return call.createReply();
  }
  static QVariant path(const QString& kind, int number) {
    return QVariant::fromValue(QDBusObjectPath(kind + QString::number(number)));
  }
  static QVariantList item(const QString& name, int interface) {
    constexpr int ipv4 = 0;
    constexpr uint noFlags = 0;
    return {interface, ipv4, name, u"_zolvex._tcp"_s, u"local"_s, noFlags};
  }
  void tell(const QString& what, const QVariantList& arguments) {
    auto signal = QDBusMessage::createSignal(u"/browser"_s + QString::number(browsers),
                                             u"org.freedesktop.Avahi.ServiceBrowser"_s, what);
    signal.setArguments(arguments);
    service_.connection().send(signal);
  }

  void tellOfResolver(int resolver, const QString& what, const QVariantList& arguments) {
    auto signal = QDBusMessage::createSignal(u"/resolver"_s + QString::number(resolver),
                                             u"org.freedesktop.Avahi.ServiceResolver"_s, what);
    signal.setArguments(arguments);
    service_.connection().send(signal);
  }

  test::ScriptedService service_;
};

/// Keeps what it hears, and resolves every service it finds.
struct BrowserEars final : ServiceBrowserListener {
  explicit BrowserEars(ServiceBrowser& theBrowser) : browser(theBrowser) {}

  void serviceFound(const std::string& name, bool) override {
    found.push_back(name);
    browser.resolve(name, limit);
  }
  void serviceRemoved(const std::string& name) override { removed.push_back(name); }
  void serviceResolved(const std::string&, const std::vector<std::string>& newAddresses, std::uint16_t) override {
    addresses = newAddresses;
  }

  ServiceBrowser& browser;
  Seconds limit{60.0};
  std::vector<std::string> found;
  std::vector<std::string> removed;
  std::vector<std::string> addresses;  // as last resolved
};

class AvahiBrowserTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(bus.start()) << bus.errorString().toStdString();
    avahi.emplace(bus.address());
    link.emplace(queue, "system bus", bus.address().toStdString());
    daemon.emplace(*link);
    browser.emplace(*daemon, retryPause);
    ears.emplace(*browser);
    search();
    link->start();
    ASSERT_TRUE(runUntil([&] { return avahi->browsers == 1; }));
  }

  void search() { browser->searchForServices("_zolvex._tcp.", "local.", *ears); }

  [[nodiscard]] bool becomesFound(std::size_t count) {
    return runUntil([&] { return ears->found.size() >= count; });
  }
  [[nodiscard]] bool browsesAnew() {
    return runUntil([&] { return avahi->browsers == 2; });
  }

  /// The service "Zolvex-A" is there, and its first two look-ups are under way.
  void find() {
    avahi->tellNew(u"Zolvex-A"_s);
    ASSERT_TRUE(looksUp(2));
  }
  [[nodiscard]] bool looksUp(int resolvers) {
    return runUntil([&] { return avahi->resolvers >= resolvers; });
  }
  [[nodiscard]] bool resolvesTo(const std::vector<std::string>& addresses) {
    return runUntil([&] { return ears->addresses == addresses; });
  }

  static constexpr std::chrono::milliseconds retryPause{100};

  test::LogCapture log;
  lab::PrivateBus bus;
  QtMainQueue queue;
  std::optional<FakeAvahi> avahi;
  std::optional<BusLink> link;
  std::optional<AvahiDaemon> daemon;
  std::optional<AvahiBrowser> browser;
  std::optional<BrowserEars> ears;
};

TEST_F(AvahiBrowserTest, whatWentWhileBrowsingHadFailedIsRemovedAndTheRestLookedUpAgain) {
  log.expectError(failure);
  avahi->tellNew(u"Zolvex-A"_s);
  avahi->tellNew(u"Zolvex-B"_s);
  ASSERT_TRUE(becomesFound(2));
  avahi->tellFailure();
  ASSERT_TRUE(browsesAnew());
  avahi->tellNew(u"Zolvex-A"_s);
  avahi->tellAllForNow();
  ASSERT_TRUE(runUntil([&] { return !ears->removed.empty(); }));
  EXPECT_THAT(ears->removed, ElementsAre("Zolvex-B"));
  EXPECT_THAT(ears->found, SizeIs(2));
  EXPECT_TRUE(runUntil([&] { return avahi->resolvers == 3 * lookUpsOfAService; }));
}

TEST_F(AvahiBrowserTest, aSearchAfterAFailureIsNotRepeated) {
  log.expectError(failure);
  avahi->tellFailure();
  ASSERT_TRUE(runUntil([&] { return log.contains(std::string(failure) + "it broke"); }));
  browser->stop();
  search();
  ASSERT_TRUE(browsesAnew());
  EXPECT_FALSE(runUntil([&] { return avahi->browsers > 2; }, 3 * retryPause));
}

TEST_F(AvahiBrowserTest, servicesBeyondTheMostAreTakenUpWhenOthersHaveGone) {
  constexpr int surplus = 1'000;
  log.expectError("More than 256 services: leaving some out until others have gone");
  for (int i = 0; i < surplus; ++i) avahi->tellNew(u"Zolvex-"_s + QString::number(i));
  avahi->tellNew(u"Zolvex-PEER"_s);
  avahi->tellRemove(u"Zolvex-0"_s);
  ASSERT_TRUE(runUntil([&] { return !ears->removed.empty(); }));
  ASSERT_THAT(ears->found, SizeIs(ServiceBrowser::maximumServices));
  ASSERT_TRUE(browsesAnew());
  const auto lookUps = avahi->resolvers;
  for (std::size_t i = 1; i < ServiceBrowser::maximumServices; ++i) avahi->tellNew(u"Zolvex-"_s + QString::number(i));
  avahi->tellNew(u"Zolvex-PEER"_s);
  avahi->tellAllForNow();
  ASSERT_TRUE(becomesFound(ServiceBrowser::maximumServices + 1));
  EXPECT_EQ(ears->found.back(), "Zolvex-PEER");
  EXPECT_THAT(ears->removed, ElementsAre("Zolvex-0"));
  // Those that had stayed all the time have not been looked up again.
  ASSERT_TRUE(runUntil([&] { return avahi->resolvers >= lookUps + lookUpsOfAService; }));
  EXPECT_EQ(avahi->resolvers, lookUps + lookUpsOfAService);
}

TEST_F(AvahiBrowserTest, aServiceThatGoesIsNoReasonToBrowseAnew) {
  avahi->tellNew(u"Zolvex-A"_s);
  ASSERT_TRUE(becomesFound(1));
  avahi->tellRemove(u"Zolvex-A"_s);
  ASSERT_TRUE(runUntil([&] { return !ears->removed.empty(); }));
  EXPECT_FALSE(runUntil([&] { return avahi->browsers > 1; }, 3 * retryPause));
}

// A look-up stays with the interface on which it found something, so what it loses may be had elsewhere.

TEST_F(AvahiBrowserTest, anAddressThatIsLostIsLookedUpAgain) {
  find();
  avahi->tellFound(1, u"192.0.2.7"_s);
  ASSERT_TRUE(resolvesTo({"192.0.2.7"}));
  avahi->tellNotFound(1);
  ASSERT_TRUE(looksUp(4));
  avahi->tellFound(3, u"192.0.2.8"_s);
  EXPECT_TRUE(resolvesTo({"192.0.2.8"}));
}

TEST_F(AvahiBrowserTest, anAddressThatIsThereStaysWhileTheOtherIsLookedUpAgain) {
  find();
  avahi->tellFound(1, u"192.0.2.7"_s);
  avahi->tellFound(2, u"2001:db8::7"_s);
  ASSERT_TRUE(resolvesTo({"192.0.2.7", "2001:db8::7"}));
  avahi->tellNotFound(1);
  ASSERT_TRUE(resolvesTo({"2001:db8::7"}));
  ASSERT_TRUE(looksUp(3));
  avahi->tellFound(3, u"192.0.2.8"_s);
  EXPECT_TRUE(resolvesTo({"192.0.2.8", "2001:db8::7"}));
  EXPECT_EQ(avahi->resolvers, 3);
}

TEST_F(AvahiBrowserTest, anAddressThatIsLostBeforeItWasReportedIsLookedUpAgain) {
  ears->limit = Seconds(0.3);  // within the wait for an IPv4 address
  find();
  avahi->tellFound(2, u"2001:db8::7"_s);
  avahi->tellNotFound(2);
  ASSERT_TRUE(looksUp(4));
  avahi->tellFound(3, u"192.0.2.8"_s);
  EXPECT_TRUE(resolvesTo({"192.0.2.8"}));
}

TEST_F(AvahiBrowserTest, anAddressThatNeverWasIsNotLookedUpAgain) {
  find();
  avahi->tellFound(1, u"192.0.2.7"_s);
  avahi->tellNotFound(2);
  ASSERT_TRUE(resolvesTo({"192.0.2.7"}));
  EXPECT_FALSE(runUntil([&] { return avahi->resolvers > 2; }, AvahiResolver::firstPause + 500ms));
}

TEST_F(AvahiBrowserTest, aServiceThatLeavesOneOfItsInterfacesIsLookedUpAtOnce) {
  find();
  avahi->tellNew(u"Zolvex-A"_s, FakeAvahi::wireless);
  avahi->tellFound(1, u"192.0.2.7"_s);
  ASSERT_TRUE(resolvesTo({"192.0.2.7"}));
  avahi->tellRemove(u"Zolvex-A"_s);
  ASSERT_TRUE(looksUp(4));
  avahi->tellFound(3, u"198.51.100.7"_s);
  EXPECT_TRUE(resolvesTo({"198.51.100.7"}));
  EXPECT_THAT(ears->removed, IsEmpty());
}

}  // namespace
}  // namespace zolvex
