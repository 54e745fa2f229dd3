#include "lab/PrivateBus.h"
#include "platform/linux/BusLink.h"
#include "platform/linux/HostName1.h"
#include "platform/linux/QtMainQueue.h"
#include "support/EventLoop.h"
#include "support/LogCapture.h"
#include "support/ScriptedService.h"

#include <QDBusVariant>
#include <gtest/gtest.h>

#include <optional>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

struct HostName1Test : testing::Test {
  HostName1Test() { started = bus.start(); }

  void serve() {
    service.emplace(bus.address(), u"org.freedesktop.hostname1"_s, [this](const QDBusMessage& call) {
      return call.createReply(QVariant::fromValue(QDBusVariant(prettyName)));
    });
    ASSERT_TRUE(service->isRegistered());
  }
  void connectLink() {
    link.start();
    ASSERT_TRUE(runUntil([&] { return link.isConnected(); }));
  }

  /// Until the bus has answered all that was asked so far.
  void awaitAnswers() {
    link.connection().call(
        QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/"_s, u"org.freedesktop.DBus.Peer"_s, u"Ping"_s));
  }
  void announceChange() {
    auto signal = QDBusMessage::createSignal(u"/org/freedesktop/hostname1"_s, u"org.freedesktop.DBus.Properties"_s,
                                             u"PropertiesChanged"_s);
    signal << u"org.freedesktop.hostname1"_s << QVariantMap() << QStringList{u"PrettyHostname"_s};
    service->connection().send(signal);
  }
  bool becomes(const std::optional<std::string>& name) {
    return runUntil([&] { return hostName.localizedName() == name; });
  }

  LogCapture log;
  lab::PrivateBus bus;
  bool started = false;
  QtMainQueue queue;
  BusLink link{queue, "system bus", bus.address().toStdString()};
  HostName1 hostName{link};
  QString prettyName = u"Anna\u2019s Laptop"_s;
  std::optional<ScriptedService> service;
};

TEST_F(HostName1Test, knowsThePrettyNameOnceTheServiceHasAnswered) {
  ASSERT_TRUE(started);
  serve();
  EXPECT_EQ(hostName.localizedName(), std::nullopt);
  connectLink();
  EXPECT_TRUE(becomes("Anna\u2019s Laptop"));
}

TEST_F(HostName1Test, followsAChange) {
  int changes = 0;
  const auto subscription = hostName.changed.observe([&] { ++changes; });
  serve();
  connectLink();
  ASSERT_TRUE(becomes("Anna\u2019s Laptop"));
  prettyName = u"Studio"_s;
  announceChange();
  EXPECT_TRUE(becomes("Studio"));
  EXPECT_EQ(changes, 2);
}

TEST_F(HostName1Test, asksAServiceThatComesLater) {
  connectLink();
  awaitAnswers();
  serve();
  EXPECT_TRUE(becomes("Anna\u2019s Laptop"));
}

TEST_F(HostName1Test, asksAServiceThatComesBack) {
  serve();
  connectLink();
  ASSERT_TRUE(becomes("Anna\u2019s Laptop"));
  service.reset();
  prettyName = u"Studio"_s;
  serve();
  EXPECT_TRUE(becomes("Studio"));
}

TEST_F(HostName1Test, aBlankPrettyNameIsNone) {
  serve();
  connectLink();
  ASSERT_TRUE(becomes("Anna\u2019s Laptop"));
  prettyName = u" "_s;
  announceChange();
  EXPECT_TRUE(becomes(std::nullopt));
}

TEST_F(HostName1Test, keepsTheNameWhileTheBusIsAway) {
  log.expectError("lost the system bus");
  serve();
  connectLink();
  ASSERT_TRUE(becomes("Anna\u2019s Laptop"));
  bus.stop();
  ASSERT_TRUE(runUntil([&] { return !link.isConnected(); }));
  EXPECT_EQ(hostName.localizedName(), "Anna\u2019s Laptop");
}

TEST_F(HostName1Test, withoutTheServiceThereIsOnlyThePlainName) {
  connectLink();
  EXPECT_FALSE(runUntil([&] { return hostName.localizedName().has_value(); }, std::chrono::milliseconds(200)));
  ASSERT_TRUE(hostName.name().has_value());
  EXPECT_FALSE(hostName.name()->empty());
}

}  // namespace
}  // namespace zolvex::test
