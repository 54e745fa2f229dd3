#include "integration/worker/WorkerLab.h"

#include <QTimer>

#include <utility>

namespace zolvex::test {

WorkerLab::WorkerLab() {
  for (const auto& device : lab::magicDevices()) radio.addDevice(device);
  bluez = std::make_unique<lab::BluezService>(
      radio, lab::BluezIdentity{.computer = laptop, .adapterAddress = radio.adapterAddressFor(laptop)});
  QObject::connect(bluez.get(), &lab::BluezService::answered, bluez.get(),
                   [this](const lab::BusCall& call, const QString&) { onAnswered(call.member()); });
}

WorkerLab::~WorkerLab() = default;

void WorkerLab::SetUp() {
  ASSERT_TRUE(bus.start()) << bus.errorString().toStdString();
  ASSERT_TRUE(bluez->start(bus.address()));
  environment.insert(QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"), bus.address());
  environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), QStringLiteral("unix:path=/nonexistent"));
  environment.remove(QStringLiteral("ZOLVEX_ADAPTER"));
}

lab::ProgramRun WorkerLab::run(const QString& command, const QByteArray& input) {
  auto result = lab::runProgram({.program = QStringLiteral(ZOLVEX_PROGRAM),
                                 .arguments = {QStringLiteral("--zolvex-bluetooth-worker"), command},
                                 .input = input,
                                 .environment = environment});
  if (result.exitStatus > 100) ADD_FAILURE() << result.error.toStdString();
  EXPECT_TRUE(result.hasStarted);
  EXPECT_FALSE(result.timedOut);
  return result;
}

QByteArray WorkerLab::printed(const QString& device) const {
  return radio.addressOf(device).replace(u':', u'-').toLatin1();
}

void WorkerLab::inject(const QString& fault) {
  const auto parsed = lab::Fault::parse(fault);
  ASSERT_TRUE(parsed) << fault.toStdString();
  radio.inject(*parsed);
}

void WorkerLab::afterAnswer(const QString& member, int count, std::function<void()> work) {
  triggers_.push_back({member, count, std::move(work)});
}

void WorkerLab::onAnswered(const QString& member) {
  answered.append(member);
  for (auto& trigger : triggers_)
    if (trigger.member == member && --trigger.count == 0) QTimer::singleShot(0, bluez.get(), trigger.work);
}

}  // namespace zolvex::test
