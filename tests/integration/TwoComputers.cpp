#include "integration/TwoComputers.h"

#include <algorithm>

namespace zolvex::lab {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// Long enough that something can happen in the middle of a call.
constexpr std::chrono::milliseconds latency = 60ms;
constexpr std::chrono::milliseconds findLimit = 20s;

/// States in which a flow may end; none of a running one.
const QStringList restStates{u"unknown"_s,  u"thisMac"_s,  u"partiallyThisMac"_s,
                             u"otherMac"_s, u"released"_s, u"failed"_s};

bool isAtRest(Desktop& desktop) {
  if (!desktop.zolvex() || !desktop.zolvex()->isRunning()) return true;
  auto& control = desktop.control();
  return control.isThere() && !control.isSwitching() && restStates.contains(control.ownershipState());
}

std::string described(Desktop& desktop) {
  auto& control = desktop.control();
  return desktop.name().toStdString() + " is " + control.ownershipState().toStdString() + ", \"" +
         control.lastResult().toStdString() + "\"" + (control.isSwitching() ? ", switching" : "");
}

}  // namespace

TwoComputers::TwoComputers(QStringList devices) : world(options(devices)) {
  for (const auto& address : radio().addresses())
    if (devices.isEmpty() || devices.contains(radio().device(address)->name)) managed_.append(address);
}

WorldOptions TwoComputers::options(const QStringList& devices) {
  WorldOptions options;
  options.zolvex = QStringLiteral(ZOLVEX_PROGRAM);
  options.timing.latency = latency;
  options.managedDevices = devices;
  return options;
}

void TwoComputers::SetUp() {
  for (auto* desktop : {&studio(), &laptop()})
    QObject::connect(desktop, &Desktop::logged, desktop, [this, desktop](const QString& source, const QString& text) {
      log_[desktop->name()].append(source + u": "_s + text);
      lookAtTriggers();
    });
  QObject::connect(
      &radio(), &Radio::changed, &world, [this] { lookAtTriggers(); }, Qt::QueuedConnection);
  ASSERT_TRUE(world.start()) << world.errorString().toStdString();
  world.giveDevicesTo(u"Laptop"_s);
  ASSERT_TRUE(world.startZolvex()) << world.errorString().toStdString();
  ASSERT_TRUE(world.waitForPeers(findLimit)) << world.errorString().toStdString();
  laptop().control().forceConnect(true);
  ASSERT_TRUE(waitUntil([&] { return laptop().control().connectedDevices() == deviceCount(); }, thorough));
  ASSERT_TRUE(waitForState(studio(), "otherMac"));
  for (auto* desktop : {&studio(), &laptop()}) ASSERT_TRUE(waitUntil([&] { return hasChecked(*desktop); }, 20s));
  ASSERT_TRUE(comesToRest());
}

bool TwoComputers::hasChecked(const Desktop& desktop) const {
  return logged(desktop, u"sending HEALTH_CHECK"_s) > 0 &&
         logged(desktop, u"Client got response"_s) == logged(desktop, u"Connected to peer, sending"_s);
}

void TwoComputers::TearDown() {
  world.stop();
  if (!HasFailure()) return;
  for (const auto& [computer, lines] : log_)
    for (const auto& line : lines) std::printf("%s %s\n", qPrintable(computer), qPrintable(line));
}

int TwoComputers::devicesOf(const Desktop& desktop) const {
  return world.devicesOf(desktop.name(), managed_);
}

bool TwoComputers::waitForState(Desktop& desktop, const char* state, std::chrono::milliseconds limit) {
  return waitUntil([&] { return desktop.control().ownershipState() == QLatin1String(state); }, limit);
}

bool TwoComputers::waitForResult(Desktop& desktop, const char* lastResult, std::chrono::milliseconds limit) {
  return waitUntil([&] { return desktop.control().lastResult() == QLatin1String(lastResult); }, limit);
}

bool TwoComputers::waitForLog(Desktop& desktop, const QString& part, std::chrono::milliseconds limit) {
  return waitUntil([&] { return logged(desktop, part) > 0; }, limit);
}

int TwoComputers::logged(const Desktop& desktop, const QString& part) const {
  const auto found = log_.find(desktop.name());
  return found == log_.end() ? 0 : static_cast<int>(found->second.filter(part).size());
}

int TwoComputers::errorsLogged() const {
  int count = 0;
  for (const auto& [computer, lines] : log_)
    for (const auto& line : lines)
      if (line.startsWith(u"zolvex"_s) && (line.contains(u" error "_s) || line.contains(u" fatal "_s))) ++count;
  return count;
}

testing::AssertionResult TwoComputers::comesToRest(std::chrono::milliseconds limit) {
  const auto restsNow = [&] { return isAtRest(studio()) && isAtRest(laptop()) && World::workerProcesses().isEmpty(); };
  if (!waitUntil(restsNow, limit))
    return testing::AssertionFailure() << described(studio()) << "; " << described(laptop()) << "; "
                                       << World::workerProcesses().size() << " workers";
  for (const auto& address : managed_)
    if (!radio().connectedTo(address).isEmpty() && radio().holder(address) != radio().connectedTo(address))
      return testing::AssertionFailure() << address.toStdString() << " is connected to one and bonded to another";
  return testing::AssertionSuccess();
}

testing::AssertionResult TwoComputers::isWholeAgain() {
  radio().liftAll();
  bool isMissing = false;
  for (auto* desktop : {&studio(), &laptop()}) isMissing = isMissing || !desktop->zolvex()->isRunning();
  if (!isMissing) return testing::AssertionSuccess();
  if (!world.startZolvex() || !world.waitForPeers(findLimit))
    return testing::AssertionFailure() << world.errorString().toStdString();
  return comesToRest();
}

testing::AssertionResult TwoComputers::nextSwitchWorks(Desktop& taker) {
  if (auto whole = isWholeAgain(); !whole) return whole;
  taker.control().connectToThisMac(true);
  if (!waitUntil([&] { return devicesOf(taker) == deviceCount(); }, thorough))
    return testing::AssertionFailure() << "only " << devicesOf(taker) << " devices came; " << described(studio())
                                       << "; " << described(laptop());
  return comesToRest();
}

void TwoComputers::when(std::function<bool()> condition, std::function<void()> action) {
  triggers_.push_back({std::move(condition), std::move(action)});
}

void TwoComputers::lookAtTriggers() {
  const auto found = std::ranges::find_if(triggers_, [](const Trigger& trigger) { return trigger.condition(); });
  if (found == triggers_.end()) return;
  const auto action = std::move(found->action);
  triggers_.erase(found);
  action();
}

}  // namespace zolvex::lab
