#include "lab/PrivateBus.h"
#include "platform/linux/AvahiBrowser.h"
#include "platform/linux/AvahiDaemon.h"
#include "platform/linux/BusLink.h"
#include "platform/linux/QtMainQueue.h"
#include "support/EventLoop.h"
#include "support/LogCapture.h"
#include "support/ScriptedService.h"

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
using testing::SizeIs;

constexpr int lookUpsOfAService = 2;  // one for each address family
constexpr auto failure = "Cannot browse for peers: ";

/// A daemon that makes what it is asked for and says what the test says.
class FakeAvahi {
 public:
  explicit FakeAvahi(const QString& busAddress)
      : service_(busAddress, u"org.freedesktop.Avahi"_s, [this](const QDBusMessage& call) { return answer(call); }) {
    EXPECT_TRUE(service_.isRegistered());
  }

  int browsers = 0;  // made so far; the newest one speaks
  int resolvers = 0;

  void tellNew(const QString& name) { tell(u"ItemNew"_s, item(name)); }
  void tellRemove(const QString& name) { tell(u"ItemRemove"_s, item(name)); }
  void tellAllForNow() { tell(u"AllForNow"_s, {}); }
  void tellFailure() { tell(u"Failure"_s, {u"it broke"_s}); }

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
  static QVariantList item(const QString& name) {
    constexpr int interface = 2;
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

  test::ScriptedService service_;
};

/// Keeps what it hears, and resolves every service it finds.
struct BrowserEars final : ServiceBrowserListener {
  explicit BrowserEars(ServiceBrowser& theBrowser) : browser(theBrowser) {}

  void serviceFound(const std::string& name, bool) override {
    found.push_back(name);
    browser.resolve(name, Seconds(60.0));
  }
  void serviceRemoved(const std::string& name) override { removed.push_back(name); }
  void serviceResolved(const std::string&, const std::vector<std::string>&, std::uint16_t) override {}

  ServiceBrowser& browser;
  std::vector<std::string> found;
  std::vector<std::string> removed;
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

}  // namespace
}  // namespace zolvex
