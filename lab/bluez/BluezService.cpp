#include "lab/bluez/BluezService.h"

namespace zolvex::lab {

BluezService::BluezService(Radio& radio, BluezIdentity identity) : radio_(radio), identity_(std::move(identity)) {
  restartTimer_.setSingleShot(true);
  connect(&restartTimer_, &QTimer::timeout, this, &BluezService::onFaultsChanged);
  connect(&radio_, &Radio::faultsChanged, this, &BluezService::onFaultsChanged);
}

BluezService::~BluezService() {
  stop();
}

bool BluezService::start(const QString& busAddress) {
  busAddress_ = busAddress;
  return radio_.suffers(FaultKind::daemonAbsent, identity_.computer) || launch();
}

void BluezService::stop() {
  busAddress_.clear();
  restartTimer_.stop();
  daemon_.reset();
}

void BluezService::setAsleep(bool asleep) {
  isAsleep_ = asleep;
  radio_.setAsleep(identity_.computer, asleep);
  if (daemon_) daemon_->holdCalls(asleep);
}

void BluezService::holdCalls(bool hold) {
  if (daemon_) daemon_->holdCalls(hold || isAsleep_);
}

bool BluezService::launch() {
  daemon_ = std::make_unique<BluezDaemon>(radio_, identity_, storage_, busAddress_);
  connect(daemon_.get(), &BluezDaemon::answered, this, &BluezService::answered);
  connect(daemon_.get(), &BluezDaemon::clientLeft, this, &BluezService::clientLeft);
  connect(daemon_.get(), &BluezDaemon::died, this, &BluezService::onDied, Qt::QueuedConnection);
  daemon_->holdCalls(isAsleep_);
  if (daemon_->start()) return true;
  daemon_.reset();
  return false;
}

void BluezService::onDied() {
  daemon_.reset();
  restartTimer_.start(identity_.timing.restartPause);
}

void BluezService::onFaultsChanged() {
  if (busAddress_.isEmpty()) return;
  const auto isAbsent = radio_.suffers(FaultKind::daemonAbsent, identity_.computer);
  if (isAbsent) daemon_.reset();
  if (!isAbsent && !daemon_ && !restartTimer_.isActive()) launch();
}

}  // namespace zolvex::lab
