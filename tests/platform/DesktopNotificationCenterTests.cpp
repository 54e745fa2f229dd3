#include "lab/PrivateBus.h"
#include "platform/linux/BusLink.h"
#include "platform/linux/DesktopNotificationCenter.h"
#include "platform/linux/QtMainQueue.h"
#include "support/EventLoop.h"
#include "support/LogCapture.h"
#include "support/ScriptedService.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QFile>
#include <QMap>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <optional>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;
using Status = NotificationCenter::AuthorizationStatus;

struct DesktopNotificationCenterTest : testing::Test {
  void SetUp() override {
    ASSERT_TRUE(bus.start()) << bus.errorString().toStdString();
    link.start();
    ASSERT_TRUE(runUntil([&] { return link.isConnected(); }));
  }
  void serveNotifications() {
    service.emplace(bus.address(), u"org.freedesktop.Notifications"_s,
                    [](const QDBusMessage& call) { return call.createReply(7u); });
    ASSERT_TRUE(service->isRegistered());
  }
  void servePermissions(const QStringList& ofZolvex) {
    using Permissions = QMap<QString, QStringList>;
    qDBusRegisterMetaType<Permissions>();
    service.emplace(bus.address(), u"org.freedesktop.impl.portal.PermissionStore"_s,
                    [ofZolvex](const QDBusMessage& call) {
                      const Permissions all{{u"quenmar.zolvex.app"_s, ofZolvex}, {u"other"_s, {u"no"_s}}};
                      return call.createReply({QVariant::fromValue(all), QVariant::fromValue(QDBusVariant(QString()))});
                    });
    ASSERT_TRUE(service->isRegistered());
  }
  NotificationCenter::Error post(const std::string& title) {
    std::optional<NotificationCenter::Error> outcome;
    center.post("zolvex.1", title, [&](const NotificationCenter::Error& error) { outcome = error; });
    EXPECT_TRUE(runUntil([&] { return outcome.has_value(); }));
    return outcome.value_or("no answer");
  }
  std::optional<Status> status() {
    std::optional<Status> found;
    center.getAuthorizationStatus([&](Status answer) { found = answer; });
    EXPECT_TRUE(runUntil([&] { return found.has_value(); }));
    return found;
  }

  LogCapture log;
  lab::PrivateBus bus;
  QtMainQueue queue;
  BusLink link{queue, "session bus", bus.address().toStdString()};
  DesktopNotificationCenter center{link};
  std::optional<ScriptedService> service;
};

TEST_F(DesktopNotificationCenterTest, postsATitleWithTheDefaultSoundAndReplacesNothing) {
  serveNotifications();
  EXPECT_EQ(post("Devices moved to Studio"), std::nullopt);
  ASSERT_EQ(service->calls().size(), 1u);
  const auto& call = service->calls().front();
  EXPECT_EQ(call.member(), u"Notify"_s);
  EXPECT_EQ(call.signature(), u"susssasa{sv}i"_s);
  const auto arguments = call.arguments();
  EXPECT_EQ(arguments[0].toString(), u"Zolvex"_s);
  EXPECT_EQ(arguments[1].toUInt(), 0u);
  EXPECT_EQ(arguments[3].toString(), u"Devices moved to Studio"_s);
  EXPECT_EQ(arguments[4].toString(), QString());
  EXPECT_TRUE(arguments[5].toStringList().isEmpty());
  const auto hints = qdbus_cast<QVariantMap>(arguments[6]);
  EXPECT_EQ(hints[u"sound-name"_s].toString(), u"message-new-instant"_s);
  EXPECT_EQ(hints[u"desktop-entry"_s].toString(), u"quenmar.zolvex.app"_s);
}

TEST_F(DesktopNotificationCenterTest, noServiceOnTheBusIsADeliveryError) {
  const auto error = post("Devices moved to Studio");
  ASSERT_TRUE(error.has_value());
  EXPECT_NE(error->find("org.freedesktop.Notifications"), std::string::npos) << *error;
}

TEST_F(DesktopNotificationCenterTest, noBusIsADeliveryError) {
  log.expectError("lost the session bus");
  bus.stop();
  ASSERT_TRUE(runUntil([&] { return !link.isConnected(); }));
  EXPECT_EQ(post("Devices moved to Studio"), "there is no session bus");
  EXPECT_EQ(status(), Status::authorized);
}

TEST_F(DesktopNotificationCenterTest, aServiceThatRefusesIsADeliveryError) {
  service.emplace(bus.address(), u"org.freedesktop.Notifications"_s, [](const QDBusMessage& call) {
    return call.createErrorReply(u"org.example.Error.Full"_s, u"too many notifications"_s);
  });
  EXPECT_EQ(post("Devices moved to Studio"), "too many notifications");
}

TEST_F(DesktopNotificationCenterTest, aServiceThatNeverAnswersIsADeliveryErrorInTheEnd) {
  service.emplace(bus.address(), u"org.freedesktop.Notifications"_s,
                  [](const QDBusMessage&) { return QDBusMessage(); });
  EXPECT_NE(post("Devices moved to Studio"), std::nullopt);
  EXPECT_EQ(service->calls().size(), 1u);
}

TEST_F(DesktopNotificationCenterTest, aServiceThatDiesBeforeItAnswersIsADeliveryError) {
  service.emplace(bus.address(), u"org.freedesktop.Notifications"_s,
                  [](const QDBusMessage&) { return QDBusMessage(); });
  std::optional<NotificationCenter::Error> outcome;
  center.post("zolvex.1", "Devices moved to Studio", [&](const NotificationCenter::Error& error) { outcome = error; });
  ASSERT_TRUE(runUntil([&] { return !service->calls().empty(); }));
  EXPECT_FALSE(outcome.has_value());
  service.reset();
  ASSERT_TRUE(runUntil([&] { return outcome.has_value(); }));
  EXPECT_NE(*outcome, std::nullopt);
}

TEST_F(DesktopNotificationCenterTest, isAllowedWhereNobodyKeepsPermissions) {
  EXPECT_EQ(status(), Status::authorized);
}

TEST_F(DesktopNotificationCenterTest, isDeniedWhenTheUserSwitchedZolvexOff) {
  servePermissions({u"no"_s});
  EXPECT_EQ(status(), Status::denied);
}

TEST_F(DesktopNotificationCenterTest, isAllowedWhenTheUserSwitchedZolvexOn) {
  servePermissions({u"yes"_s});
  EXPECT_EQ(status(), Status::authorized);
}

TEST_F(DesktopNotificationCenterTest, aPermissionStoreThatAnswersNonsenseDeniesNothing) {
  service.emplace(bus.address(), u"org.freedesktop.impl.portal.PermissionStore"_s,
                  [](const QDBusMessage& call) { return call.createReply(u"nonsense"_s); });
  EXPECT_EQ(status(), Status::authorized);
}

TEST_F(DesktopNotificationCenterTest, permissionIsGrantedWithoutAsking) {
  bool granted = false;
  center.requestAuthorization([&](bool answer, const NotificationCenter::Error&) { granted = answer; });
  EXPECT_TRUE(granted);
}

TEST_F(DesktopNotificationCenterTest, isUnderstoodByAnIndependentNotificationService) {
  QProcess mock;
  mock.setProcessChannelMode(QProcess::MergedChannels);
  auto environment = QProcessEnvironment::systemEnvironment();
  environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, bus.address());
  mock.setProcessEnvironment(environment);
  mock.start(u"/usr/bin/python3"_s,
             {u"-u"_s, u"-m"_s, u"dbusmock"_s, u"--session"_s, u"--template"_s, u"notification_daemon"_s});
  ASSERT_TRUE(mock.waitForStarted());
  auto* names = link.connection().interface();
  ASSERT_TRUE(runUntil([&] { return names->isServiceRegistered(u"org.freedesktop.Notifications"_s).value(); }));
  EXPECT_EQ(post("Devices moved to Studio"), std::nullopt);
  QByteArray output;
  EXPECT_TRUE(runUntil([&] { return (output += mock.readAll()).contains("Devices moved to Studio"); }));
  mock.kill();
  mock.waitForFinished();
}

}  // namespace
}  // namespace zolvex::test
