#include "lab/BusClient.h"

#include <QDBusObjectPath>
#include <QDBusVirtualObject>

namespace zolvex::lab {
namespace {

using namespace Qt::StringLiterals;

/// An agent at /agent that notes what it is asked and agrees, or refuses with the given error.
class FakeAgent : public QDBusVirtualObject {
 public:
  explicit FakeAgent(BusClient& client) {
    client.connection().registerVirtualObject(u"/agent"_s, this, QDBusConnection::SingleNode);
  }

  QString introspect(const QString&) const override { return {}; }

  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
    asked.append(message.member());
    connection.send(refusal.isEmpty() ? message.createReply(answer) : message.createErrorReply(refusal, u"refused"_s));
    return true;
  }

  QStringList asked;
  QString refusal;
  QVariantList answer;
};

class BluezAgent : public BluezTest {
 protected:
  void SetUp() override {
    BluezTest::SetUp();
    radio.inject({FaultKind::wantsPasskey});
    agent.emplace(*client);
  }

  QDBusMessage manager(const QString& member, const QVariantList& more = {}) {
    return client->call(AgentManager::path(), u"org.bluez.AgentManager1"_s, member,
                        QVariantList{QVariant::fromValue(QDBusObjectPath(u"/agent"_s))} + more);
  }

  std::optional<FakeAgent> agent;
};

TEST_F(BluezAgent, passkeyCannotBeHadWithoutAnAgent) {
  find(mouse);
  EXPECT_EQ(client->device(mouse, u"Pair"_s).errorName(), u"org.bluez.Error.AuthenticationFailed"_s);
}

TEST_F(BluezAgent, agentThatCanDoNothingIsNotAsked) {
  manager(u"RegisterAgent"_s, {u"NoInputNoOutput"_s});
  find(mouse);
  EXPECT_EQ(client->device(mouse, u"Pair"_s).errorName(), u"org.bluez.Error.AuthenticationFailed"_s);
  EXPECT_TRUE(agent->asked.isEmpty());
}

TEST_F(BluezAgent, keyboardHasThePasskeyShownAndTyped) {
  manager(u"RegisterAgent"_s, {u"KeyboardDisplay"_s});
  find(keyboard);
  EXPECT_EQ(client->device(keyboard, u"Pair"_s).type(), QDBusMessage::ReplyMessage);
  EXPECT_EQ(agent->asked, QStringList{u"DisplayPasskey"_s});
}

TEST_F(BluezAgent, mouseHasThePasskeyConfirmed) {
  manager(u"RegisterAgent"_s, {u"DisplayYesNo"_s});
  find(mouse);
  EXPECT_EQ(client->device(mouse, u"Pair"_s).type(), QDBusMessage::ReplyMessage);
  EXPECT_EQ(agent->asked, QStringList{u"RequestConfirmation"_s});
}

TEST_F(BluezAgent, agentWithoutDisplayIsAskedForThePasskey) {
  agent->answer = {123456u};
  manager(u"RegisterAgent"_s, {u"KeyboardOnly"_s});
  find(mouse);
  EXPECT_EQ(client->device(mouse, u"Pair"_s).type(), QDBusMessage::ReplyMessage);
  EXPECT_EQ(agent->asked, QStringList{u"RequestPasskey"_s});
}

TEST_F(BluezAgent, refusalOfTheAgentRejectsThePairing) {
  agent->refusal = u"org.bluez.Error.Rejected"_s;
  manager(u"RegisterAgent"_s, {u"KeyboardDisplay"_s});
  find(mouse);
  EXPECT_EQ(client->device(mouse, u"Pair"_s).errorName(), u"org.bluez.Error.AuthenticationRejected"_s);
  EXPECT_EQ(radio.holder(mouse), QString());
}

TEST_F(BluezAgent, noAgentIsAskedWithoutNeed) {
  radio.liftAll();
  manager(u"RegisterAgent"_s, {u"KeyboardDisplay"_s});
  find(mouse);
  EXPECT_EQ(client->device(mouse, u"Pair"_s).type(), QDBusMessage::ReplyMessage);
  EXPECT_TRUE(agent->asked.isEmpty());
}

TEST_F(BluezAgent, defaultAgentServesOtherClients) {
  manager(u"RegisterAgent"_s, {u"KeyboardDisplay"_s});
  manager(u"RequestDefaultAgent"_s);
  find(mouse);
  BusClient other(laptop.busAddress());
  EXPECT_EQ(other.device(mouse, u"Pair"_s).type(), QDBusMessage::ReplyMessage);
  EXPECT_EQ(agent->asked.size(), 1);
}

TEST_F(BluezAgent, registrationKeepsItsRules) {
  EXPECT_EQ(manager(u"UnregisterAgent"_s).errorName(), u"org.bluez.Error.DoesNotExist"_s);
  EXPECT_EQ(manager(u"RequestDefaultAgent"_s).errorName(), u"org.bluez.Error.DoesNotExist"_s);
  EXPECT_EQ(manager(u"RegisterAgent"_s, {u"Mindreader"_s}).errorName(), u"org.bluez.Error.InvalidArguments"_s);
  EXPECT_EQ(manager(u"RegisterAgent"_s, {u""_s}).type(), QDBusMessage::ReplyMessage);
  EXPECT_EQ(manager(u"RegisterAgent"_s, {u""_s}).errorName(), u"org.bluez.Error.AlreadyExists"_s);
  EXPECT_EQ(manager(u"UnregisterAgent"_s).type(), QDBusMessage::ReplyMessage);
}

}  // namespace
}  // namespace zolvex::lab
