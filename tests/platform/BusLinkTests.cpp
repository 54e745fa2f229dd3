#include "lab/PrivateBus.h"
#include "platform/linux/BusLink.h"
#include "platform/linux/FileDescriptor.h"
#include "platform/linux/QtMainQueue.h"
#include "support/EventLoop.h"
#include "support/LogCapture.h"

#include <QDBusMessage>
#include <QDBusPendingReply>
#include <gtest/gtest.h>

#include <csignal>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace zolvex::test {
namespace {

/// Lets its first client in and then says no more.
class BusThatOnlyAuthenticates {
 public:
  BusThatOnlyAuthenticates() {
    sockaddr_un name{};
    name.sun_family = AF_UNIX;
    name_.copy(name.sun_path + 1, name_.size());
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name_.size());
    isListening_ =
        bind(listener_.get(), reinterpret_cast<const sockaddr*>(&name), length) == 0 && listen(listener_.get(), 1) == 0;
    server_ = std::jthread([this] {
      client_ = FileDescriptor(accept(listener_.get(), nullptr, nullptr));
      constexpr std::string_view welcome = "DATA\r\nOK 0123456789abcdef0123456789abcdef\r\nAGREE_UNIX_FD\r\n";
      send(client_.get(), welcome.data(), welcome.size(), MSG_NOSIGNAL);
    });
  }
  ~BusThatOnlyAuthenticates() { shutdown(listener_.get(), SHUT_RDWR); }

  QString address() const { return QString::fromStdString("unix:abstract=" + (isListening_ ? name_ : "")); }

 private:
  std::string name_ = "zolvex-test-bus-" + std::to_string(getpid());
  FileDescriptor listener_{socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
  FileDescriptor client_{-1};
  bool isListening_ = false;
  std::jthread server_;
};

auto threadCount() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
}

struct BusLinkTest : testing::Test {
  /// Attempts that were given up still connect in threads of their own, which the end of the program must not meet.
  void TearDown() override {
    link.reset();
    EXPECT_TRUE(runUntil([] { return threadCount() <= threadsWithQtBus; }));
  }

  void make(const QString& address) {
    link.emplace(queue, "test bus", address.toStdString());
    arrival = link->arrived.observe([this] { ++arrivals; });
    loss = link->lost.observe([this] { ++losses; });
    link->start();
  }

  static constexpr auto threadsWithQtBus = 2;

  LogCapture log;
  lab::PrivateBus bus;
  QtMainQueue queue;
  std::optional<BusLink> link;
  Subscription arrival;
  Subscription loss;
  int arrivals = 0;
  int losses = 0;
};

TEST_F(BusLinkTest, connectsWithoutHoldingUpItsThread) {
  ASSERT_TRUE(bus.start()) << bus.errorString().toStdString();
  make(bus.address());
  EXPECT_FALSE(link->isConnected());
  ASSERT_TRUE(runUntil([&] { return arrivals == 1; }));
  EXPECT_TRUE(link->isConnected());
  EXPECT_TRUE(log.contains("connected to the test bus"));
}

TEST_F(BusLinkTest, theConnectionWorks) {
  ASSERT_TRUE(bus.start());
  make(bus.address());
  ASSERT_TRUE(runUntil([&] { return link->isConnected(); }));
  const auto call =
      QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
                                     QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetId"));
  QDBusPendingReply<QString> reply = link->connection().asyncCall(call);
  reply.waitForFinished();
  EXPECT_FALSE(reply.value().isEmpty());
}

TEST_F(BusLinkTest, waitsForABusThatComesLater) {
  log.expectError("no test bus yet, waiting for it: ");
  make(bus.address());
  ASSERT_TRUE(runUntil([&] { return !log.lines().empty(); }));
  EXPECT_FALSE(link->isConnected());
  ASSERT_TRUE(bus.start());
  ASSERT_TRUE(runUntil([&] { return arrivals == 1; }));
}

TEST_F(BusLinkTest, noticesTheLossAndTheReturnOfItsBus) {
  log.expectError("lost the test bus, waiting for it");
  ASSERT_TRUE(bus.start());
  make(bus.address());
  ASSERT_TRUE(runUntil([&] { return arrivals == 1; }));
  bus.stop();
  ASSERT_TRUE(runUntil([&] { return losses == 1; }));
  EXPECT_FALSE(link->isConnected());
  ASSERT_TRUE(bus.start());
  ASSERT_TRUE(runUntil([&] { return arrivals == 2; }));
  EXPECT_EQ(losses, 1);
}

TEST_F(BusLinkTest, aMissingBusIsLoggedOnce) {
  log.expectError("no test bus yet, waiting for it: ");
  make(QStringLiteral("unix:path=/nonexistent/bus"));
  const auto enough = BusLink::retryInterval * 1.5;
  ASSERT_FALSE(runUntil([] { return false; }, std::chrono::duration_cast<std::chrono::milliseconds>(enough)));
  EXPECT_EQ(log.lines().size(), 1u);
}

TEST_F(BusLinkTest, anAddressThatIsNoneIsJustAMissingBus) {
  log.expectError("no test bus yet, waiting for it: ");
  make(QStringLiteral("no such thing"));
  ASSERT_TRUE(runUntil([&] { return !log.lines().empty(); }));
  EXPECT_FALSE(link->isConnected());
}

TEST_F(BusLinkTest, mayEndWhileItConnects) {
  ASSERT_TRUE(bus.start());
  for (int i = 0; i < 20; ++i) {
    make(bus.address());
    link.reset();
  }
  runPending();
  EXPECT_EQ(arrivals, 0);
}

TEST_F(BusLinkTest, aBusThatAcceptsButNeverAnswersBlocksNobody) {
  log.expectError("no test bus yet, waiting for it: there is no answer at ");
  ASSERT_TRUE(bus.start());
  lab::PrivateBus otherBus;
  ASSERT_TRUE(otherBus.start());
  const auto daemon = static_cast<pid_t>(bus.processId());
  kill(daemon, SIGSTOP);
  make(bus.address());
  BusLink otherLink(queue, "other bus", otherBus.address().toStdString());
  otherLink.start();
  EXPECT_TRUE(runUntil([&] { return otherLink.isConnected(); }));
  EXPECT_TRUE(runUntil([&] { return log.count("connected to the other bus") == 1 && log.lines().size() == 2; }));
  EXPECT_FALSE(link->isConnected());
  kill(daemon, SIGCONT);
  EXPECT_TRUE(runUntil([&] { return arrivals == 1; }));
}

TEST_F(BusLinkTest, aBusThatFallsSilentWhileItIsConnectedToBlocksNobody) {
  log.expectError("no test bus yet, waiting for it: there is no answer at ");
  const BusThatOnlyAuthenticates silent;
  make(silent.address());
  lab::PrivateBus otherBus;
  ASSERT_TRUE(otherBus.start());
  BusLink otherLink(queue, "other bus", otherBus.address().toStdString());
  otherLink.start();
  EXPECT_TRUE(runUntil([&] { return otherLink.isConnected() && log.lines().size() == 2; }));
  EXPECT_FALSE(link->isConnected());
}

TEST_F(BusLinkTest, usersMayMakeTheirSubscriptionsFromWithinTheNews) {
  ASSERT_TRUE(bus.start());
  make(bus.address());
  Subscription second;
  const auto first = link->arrived.observe([&] { second = link->lost.observe([] {}); });
  ASSERT_TRUE(runUntil([&] { return arrivals == 1; }));
}

struct BusLinkEnvironmentTest : BusLinkTest {
  ~BusLinkEnvironmentTest() override {
    qputenv("DBUS_SESSION_BUS_ADDRESS", session);
    qputenv("XDG_RUNTIME_DIR", runtime);
  }
  void connects(BusLink::Bus which) {
    link.emplace(queue, which);
    link->start();
    EXPECT_TRUE(runUntil([&] { return link->isConnected(); }));
  }
  const QByteArray session = qgetenv("DBUS_SESSION_BUS_ADDRESS");
  const QByteArray runtime = qgetenv("XDG_RUNTIME_DIR");
};

TEST_F(BusLinkEnvironmentTest, findsTheSessionBusByItsVariable) {
  ASSERT_TRUE(bus.start());
  qputenv("DBUS_SESSION_BUS_ADDRESS", bus.address().toUtf8());
  connects(BusLink::Bus::session);
}

TEST_F(BusLinkEnvironmentTest, findsTheSessionBusInTheRuntimeDirectory) {
  ASSERT_TRUE(bus.start());
  qunsetenv("DBUS_SESSION_BUS_ADDRESS");
  auto directory = bus.address().toUtf8();
  directory.remove(0, static_cast<int>(qstrlen("unix:path=")));
  directory.chop(static_cast<int>(qstrlen("/bus")));
  qputenv("XDG_RUNTIME_DIR", directory);
  connects(BusLink::Bus::session);
}

TEST_F(BusLinkEnvironmentTest, anEnvironmentWithoutASessionIsAMissingBus) {
  log.expectError("no session bus yet, waiting for it: ");
  qunsetenv("DBUS_SESSION_BUS_ADDRESS");
  qunsetenv("XDG_RUNTIME_DIR");
  link.emplace(queue, BusLink::Bus::session);
  link->start();
  EXPECT_TRUE(runUntil([&] { return !log.lines().empty(); }));
}

}  // namespace
}  // namespace zolvex::test
