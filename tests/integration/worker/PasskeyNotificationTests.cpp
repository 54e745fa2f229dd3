#include "lab/PrivateBus.h"
#include "platform/linux/PasskeyNotification.h"
#include "support/EventLoop.h"
#include "support/ScriptedService.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <iterator>
#include <optional>
#include <string>

namespace zolvex::test {
namespace {

using namespace Qt::StringLiterals;

auto threadCount() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
}

/// A notification service that answers only when a test says so.
class PasskeyNotificationTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(bus.start()) << bus.errorString().toStdString();
    service.emplace(bus.address(), u"org.freedesktop.Notifications"_s,
                    [](const QDBusMessage&) { return QDBusMessage(); });
    ASSERT_TRUE(service->isRegistered());
    qputenv("DBUS_SESSION_BUS_ADDRESS", bus.address().toLatin1());
    notification.emplace();
    threadsBefore = threadCount();
  }
  void TearDown() override {
    service.reset();  // ends the calls that are left
    notification.reset();
    EXPECT_TRUE(runUntil([this] { return threadCount() <= threadsBefore; }));
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
  }

  bool hasAsked(std::size_t count) {
    return runUntil([&] { return service->calls().size() == count; });
  }
  QString textOf(std::size_t number) const { return service->calls().at(number).arguments().value(4).toString(); }
  void answer(std::size_t number) {
    service->connection().send(service->calls().at(number).createReply(QVariant::fromValue<quint32>(1)));
  }

  lab::PrivateBus bus;
  std::optional<ScriptedService> service;
  std::optional<PasskeyNotification> notification;
  std::ptrdiff_t threadsBefore = 0;
};

// Whoever asks for the pairing may send as many codes as it likes.
TEST_F(PasskeyNotificationTest, ofTheCodesThatComeDuringASlowOneTheLastIsShownNext) {
  notification->show("Magic Keyboard", "0");
  ASSERT_TRUE(hasAsked(1));
  for (int code = 1; code <= 50; ++code) notification->show("Magic Keyboard", std::to_string(code));
  EXPECT_LE(threadCount(), threadsBefore + 1);
  answer(0);
  ASSERT_TRUE(hasAsked(2));
  EXPECT_EQ(textOf(0), u"Type 0 on the device, then press Return."_s);
  EXPECT_EQ(textOf(1), u"Type 50 on the device, then press Return."_s);
  answer(1);
  EXPECT_TRUE(runUntil([this] { return threadCount() <= threadsBefore; }));
  EXPECT_EQ(service->calls().size(), 2u);
}

TEST_F(PasskeyNotificationTest, aCodeThatComesLaterIsShownToo) {
  notification->show("Magic Keyboard", "123456");
  ASSERT_TRUE(hasAsked(1));
  answer(0);
  EXPECT_TRUE(runUntil([this] { return threadCount() <= threadsBefore; }));
  notification->show("Magic Keyboard", "654321");
  ASSERT_TRUE(hasAsked(2));
  EXPECT_EQ(textOf(1), u"Type 654321 on the device, then press Return."_s);
}

TEST_F(PasskeyNotificationTest, aCodeThatWaitsIsDroppedAtTheEndOfThePairing) {
  notification->show("Magic Keyboard", "123456");
  ASSERT_TRUE(hasAsked(1));
  notification->show("Magic Keyboard", "654321");
  notification.reset();
  answer(0);
  EXPECT_TRUE(runUntil([this] { return threadCount() <= threadsBefore; }));
  EXPECT_EQ(service->calls().size(), 1u);
}

}  // namespace
}  // namespace zolvex::test
