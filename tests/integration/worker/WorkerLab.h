#pragma once

#include "lab/PrivateBus.h"
#include "lab/ProgramRun.h"
#include "lab/Radio.h"
#include "lab/bluez/BluezService.h"

#include <QObject>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <gtest/gtest.h>

#include <functional>
#include <memory>

namespace zolvex::test {

/// A laptop with a private bus, org.bluez on it and the three Magic devices around it; the real program is run there in
/// worker mode.
class WorkerLab : public testing::Test {
 protected:
  WorkerLab();
  ~WorkerLab() override;

  void SetUp() override;

  lab::ProgramRun run(const QString& command, const QByteArray& input = {});
  lab::ProgramRun connect(const QString& device) { return run(QStringLiteral("connect"), printed(device)); }
  lab::ProgramRun unregister(const QString& device) { return run(QStringLiteral("unregister"), printed(device)); }
  lab::ProgramRun list() { return run(QStringLiteral("listPaired")); }

  /// "02-5A-..." of a device's name.
  QByteArray printed(const QString& device) const;

  void bond(const QString& device) { radio.bond(laptop, radio.addressOf(device)); }
  void inject(const QString& fault);
  QString holder(const QString& device) const { return radio.holder(radio.addressOf(device)); }
  QString connectedTo(const QString& device) const { return radio.connectedTo(radio.addressOf(device)); }

  /// Does `work` once, in a later turn, when org.bluez has answered the `count`th call of `member` from now.
  void afterAnswer(const QString& member, int count, std::function<void()> work);

  static inline const auto laptop = QStringLiteral("Laptop");
  static inline const auto keyboard = QStringLiteral("Magic Keyboard");
  static inline const auto trackpad = QStringLiteral("Magic Trackpad");
  static inline const auto mouse = QStringLiteral("Magic Mouse");

  lab::Radio radio;
  lab::PrivateBus bus;
  std::unique_ptr<lab::BluezService> bluez;
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  QStringList answered;  ///< Members of the calls that org.bluez has answered, oldest first.

 private:
  struct Trigger {
    QString member;
    int count;
    std::function<void()> work;
  };
  void onAnswered(const QString& member);

  std::vector<Trigger> triggers_;
};

}  // namespace zolvex::test
