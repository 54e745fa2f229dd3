#include "support/World.h"
#include "ui/ZolvexNotifier.h"

#include <gtest/gtest.h>

#include <regex>

namespace zolvex::test {
namespace {

using Texts = std::vector<std::string>;
using Authorization = NotificationCenter::AuthorizationStatus;

class FakeNotificationCenter final : public NotificationCenter {
 public:
  AuthorizationStatus status = AuthorizationStatus::authorized;
  bool grants = true;
  Error authorizationError;
  Error deliveryError;
  int requests = 0;
  Texts titles;
  Texts identifiers;

  void getAuthorizationStatus(std::function<void(AuthorizationStatus)> answer) override { answer(status); }
  void requestAuthorization(std::function<void(bool, const Error&)> answer) override {
    ++requests;
    answer(grants, authorizationError);
  }
  void post(const std::string& identifier, const std::string& title,
            std::function<void(const Error&)> answer) override {
    identifiers.push_back(identifier);
    titles.push_back(title);
    answer(deliveryError);
  }
};

class FakeHostName final : public LocalHostName {
 public:
  std::optional<std::string> pretty = "Studio";
  std::optional<std::string> plain = "studio.example";
  std::optional<std::string> localizedName() const override { return pretty; }
  std::optional<std::string> name() const override { return plain; }
};

struct NotifierWorld : World {
  using World::World;
  FakeNotificationCenter center;
  FakeHostName host;
  ZolvexNotifier notifier{center, store(), network(), host};
};

std::string titleForDevice(const std::string& name) {
  NotifierWorld world({name});
  world.notifier.notifyDevicesMovedHere();
  return world.center.titles.at(0);
}

TEST(ZolvexNotifier, namesTheKindOfASingleDevice) {
  EXPECT_EQ(titleForDevice("Magic Trackpad"), "Trackpad moved to Studio");
  EXPECT_EQ(titleForDevice("MAGIC MOUSE"), "Mouse moved to Studio");
  EXPECT_EQ(titleForDevice("Magic Keyboard"), "Keyboard moved to Studio");
  EXPECT_EQ(titleForDevice("Mouse with trackpad"), "Trackpad moved to Studio");
  EXPECT_EQ(titleForDevice("Desk Pad"), "Desk Pad moved to Studio");
}

TEST(ZolvexNotifier, callsSeveralOrNoDevicesDevices) {
  for (const auto& names : {noDevices, Texts{"Magic Mouse", "Magic Keyboard"}}) {
    NotifierWorld world(names);
    world.notifier.notifyDevicesMovedHere();
    EXPECT_EQ(world.center.titles, Texts{"Devices moved to Studio"});
  }
}

TEST(ZolvexNotifier, tellsOfAPartialMove) {
  NotifierWorld world;
  world.notifier.notifySomeDevicesMovedHere();
  EXPECT_EQ(world.center.titles, Texts{"Some devices moved to Studio"});
}

TEST(ZolvexNotifier, namesThePeerOrTheOtherMac) {
  NotifierWorld world;
  world.notifier.notifyDevicesMovedToPeer();
  world.network().removePeer();
  world.notifier.notifyDevicesMovedToPeer();
  EXPECT_EQ(world.center.titles, (Texts{"Devices moved to ABC123", "Devices moved to the other Mac"}));
}

TEST(ZolvexNotifier, fallsBackToTheHostNameAndThenToThisMac) {
  NotifierWorld world;
  world.host.pretty = std::nullopt;
  world.notifier.notifyDevicesMovedHere();
  world.host.plain = std::nullopt;
  world.notifier.notifyDevicesMovedHere();
  world.host.pretty = " \n";
  world.host.plain = "unused";
  world.notifier.notifyDevicesMovedHere();
  world.host.pretty = " Studio\n";
  world.notifier.notifyDevicesMovedHere();
  EXPECT_EQ(world.center.titles, (Texts{"Devices moved to studio.example", "Devices moved to this Mac",
                                        "Devices moved to this Mac", "Devices moved to Studio"}));
}

TEST(ZolvexNotifier, givesEveryNotificationAnIdentifierOfItsOwn) {
  NotifierWorld world;
  world.notifier.notifyDevicesMovedHere();
  world.notifier.notifyDevicesMovedHere();
  const std::regex form("zolvex\\.[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}");
  for (const auto& identifier : world.center.identifiers) EXPECT_TRUE(std::regex_match(identifier, form));
  EXPECT_NE(world.center.identifiers[0], world.center.identifiers[1]);
}

TEST(ZolvexNotifier, asksForPermissionFirstAndPostsOnlyWhenItIsGiven) {
  for (const bool grants : {true, false}) {
    NotifierWorld world;
    world.center.status = Authorization::notDetermined;
    world.center.grants = grants;
    world.notifier.notifyDevicesMovedHere();
    EXPECT_EQ(world.center.requests, 1);
    EXPECT_EQ(world.center.titles.size(), grants ? 1u : 0u);
  }
}

TEST(ZolvexNotifier, aFailedRequestForPermissionIsLogged) {
  NotifierWorld world;
  world.log.expectError("Notification authorization failed: no session");
  world.center.status = Authorization::notDetermined;
  world.center.authorizationError = "no session";
  world.notifier.notifyDevicesMovedHere();
  EXPECT_TRUE(world.center.titles.empty());
}

TEST(ZolvexNotifier, postsUnderEveryKindOfPermission) {
  for (const auto status : {Authorization::authorized, Authorization::provisional, Authorization::ephemeral}) {
    NotifierWorld world;
    world.center.status = status;
    world.notifier.notifyDevicesMovedHere();
    EXPECT_EQ(world.center.titles.size(), 1u);
  }
}

TEST(ZolvexNotifier, respectsARefusalWithOneLogLine) {
  NotifierWorld world;
  world.center.status = Authorization::denied;
  const auto before = world.log.lines().size();
  world.notifier.notifyDevicesMovedHere();
  EXPECT_TRUE(world.center.titles.empty());
  EXPECT_EQ(world.log.lines().size(), before + 1);
  EXPECT_EQ(world.log.lines().back(), "Notification skipped because authorization was denied");
}

TEST(ZolvexNotifier, skipsWhenTheStatusIsUnknown) {
  NotifierWorld world;
  world.center.status = Authorization::unknown;
  world.notifier.notifyDevicesMovedHere();
  EXPECT_TRUE(world.center.titles.empty());
  EXPECT_EQ(world.log.lines().back(), "Notification skipped because authorization status is unknown");
}

TEST(ZolvexNotifier, aFailedDeliveryIsLogged) {
  NotifierWorld world;
  world.log.expectError("Notification delivery failed: no such service");
  world.center.deliveryError = "no such service";
  world.notifier.notifyDevicesMovedHere();
}

}  // namespace
}  // namespace zolvex::test
