#pragma once

#include "lab/PrivateBus.h"
#include "lab/ProgramRun.h"
#include "support/ScriptedService.h"

#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QMap>
#include <QVariantMap>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace zolvex::test {

/// What GetManagedObjects tells.
using BluezSnapshot = QMap<QDBusObjectPath, QMap<QString, QVariantMap>>;

/// The real program in worker mode against an org.bluez that says what a test has written down, call by call: for
/// moments which no daemon can be brought to meet.
class ScriptedBluez : public testing::Test {
 protected:
  void SetUp() override {
    qDBusRegisterMetaType<QMap<QString, QVariantMap>>();
    qDBusRegisterMetaType<BluezSnapshot>();
    ASSERT_TRUE(bus.start()) << bus.errorString().toStdString();
    service = std::make_unique<ScriptedService>(bus.address(), QStringLiteral("org.bluez"),
                                                [this](const QDBusMessage& call) { return answerTo(call); });
    ASSERT_TRUE(service->isRegistered());
    environment.insert(QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"), bus.address());
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), QStringLiteral("unix:path=/nonexistent"));
    environment.remove(QStringLiteral("ZOLVEX_ADAPTER"));
  }

  lab::ProgramRun run(const QString& command, const QByteArray& input = "02-5A-00-00-00-03") {
    return lab::runProgram({.program = QStringLiteral(ZOLVEX_PROGRAM),
                            .arguments = {QStringLiteral("--zolvex-bluetooth-worker"), command},
                            .input = input,
                            .environment = environment});
  }

  static BluezSnapshot adapterAt(const QString& path, bool isPowered = true) {
    return {{QDBusObjectPath(path), {{adapterInterface, {{QStringLiteral("Powered"), isPowered}}}}}};
  }
  static BluezSnapshot mouse(bool isPaired = true) {
    const QVariantMap properties{{QStringLiteral("Address"), QStringLiteral("02:5A:00:00:00:03")},
                                 {QStringLiteral("Adapter"), QVariant::fromValue(QDBusObjectPath(adapter))},
                                 {QStringLiteral("Paired"), isPaired}};
    return {{QDBusObjectPath(mousePath), {{deviceInterface, properties}}}};
  }
  static BluezSnapshot together(BluezSnapshot one, const BluezSnapshot& other) {
    one.insert(other);
    return one;
  }

  static QDBusMessage reply(const QDBusMessage& call, const BluezSnapshot& snapshot) {
    return call.createReply(QVariant::fromValue(snapshot));
  }
  static QDBusMessage fail(const QDBusMessage& call, const QString& error) {
    return call.createErrorReply(error, QStringLiteral("scripted"));
  }
  static QDBusMessage silence() { return {}; }

  /// Tells the bus that the object is no more.
  void withdraw(const QString& path, const QString& interface) {
    auto signal = QDBusMessage::createSignal(QStringLiteral("/"), QStringLiteral("org.freedesktop.DBus.ObjectManager"),
                                             QStringLiteral("InterfacesRemoved"));
    signal.setArguments({QVariant::fromValue(QDBusObjectPath(path)), QStringList{interface}});
    service->connection().send(signal);
  }

  /// What the calls of one method are answered with, the first, the second, ...; the last of these also the later ones.
  /// A method that has none is answered with nothing in it.
  void script(const QString& member, std::vector<ScriptedService::Answer> answers) {
    answers_.insert(member, std::move(answers));
  }
  void scriptSnapshots(const std::vector<BluezSnapshot>& snapshots) {
    std::vector<ScriptedService::Answer> answers;
    for (const auto& snapshot : snapshots)
      answers.push_back([snapshot](const QDBusMessage& call) { return reply(call, snapshot); });
    script(QStringLiteral("GetManagedObjects"), std::move(answers));
  }

  int countOf(const QString& member) const { return counts_.value(member); }

  static inline const auto adapter = QStringLiteral("/org/bluez/hci0");
  static inline const auto mousePath = QStringLiteral("/org/bluez/hci0/dev_02_5A_00_00_00_03");
  static inline const auto adapterInterface = QStringLiteral("org.bluez.Adapter1");
  static inline const auto deviceInterface = QStringLiteral("org.bluez.Device1");

  lab::PrivateBus bus;
  std::unique_ptr<ScriptedService> service;
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();

 private:
  QDBusMessage answerTo(const QDBusMessage& call) {
    const auto number = static_cast<std::size_t>(counts_[call.member()]++);
    const auto& answers = answers_[call.member()];
    if (answers.empty()) return call.createReply();
    return answers[std::min(number, answers.size() - 1)](call);
  }

  QMap<QString, std::vector<ScriptedService::Answer>> answers_;
  QMap<QString, int> counts_;
};

}  // namespace zolvex::test
