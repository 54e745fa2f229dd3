#include "lab/bluez/BluezDaemon.h"

#include <QDBusConnectionInterface>

#include <atomic>

namespace zolvex::lab {

using namespace Qt::StringLiterals;

namespace {

QString uniqueConnectionName(const QString& computer) {
  static std::atomic<int> count = 0;
  return u"zolvex-lab-bluez-%1-%2"_s.arg(computer).arg(++count);
}

}  // namespace

BluezDaemon::BluezDaemon(Radio& radio, const BluezIdentity& identity, QMap<QString, StoredDevice>& storage,
                         const QString& busAddress)
    : connectionName_(uniqueConnectionName(identity.computer)),
      tree_(std::make_unique<BusTree>(QDBusConnection::connectToBus(busAddress, connectionName_))),
      host_{radio, identity, storage, *tree_,
            [this] { BluezHost::after(host_.latency(), this, [this] { Q_EMIT died(); }); }},
      agents_(std::make_shared<AgentManager>(host_)) {
  connect(tree_.get(), &BusTree::answered, this, &BluezDaemon::answered);
  connect(tree_.get(), &BusTree::clientLeft, this, &BluezDaemon::clientLeft);
}

BluezDaemon::~BluezDaemon() {
  host_.radio.disconnect(this);
  host_.radio.closeLinks(host_.identity.computer);
  adapter_.reset();
  agents_.reset();
  tree_.reset();
  QDBusConnection::disconnectFromBus(connectionName_);
}

bool BluezDaemon::start() {
  if (!tree_->attach()) return false;
  tree_->add(AgentManager::path(), {agents_});
  if (!host_.suffers(FaultKind::adapterUnplugged)) plugAdapter();
  followRadio();
  return tree_->connection().registerService(u"org.bluez"_s);
}

void BluezDaemon::followRadio() {
  connect(&host_.radio, &Radio::changed, this, [this](const QString& address) {
    if (adapter_) adapter_->update(address);
  });
  connect(&host_.radio, &Radio::faultsChanged, this, &BluezDaemon::onFaultsChanged);
}

void BluezDaemon::plugAdapter() {
  adapter_ = std::make_shared<AdapterInterface>(host_, *agents_);
  tree_->add(AdapterInterface::path(), {adapter_});
  adapter_->exportDevices();
}

void BluezDaemon::unplugAdapter() {
  host_.radio.closeLinks(host_.identity.computer);
  adapter_->withdrawDevices();
  tree_->remove(AdapterInterface::path());
  adapter_.reset();
}

void BluezDaemon::onFaultsChanged() {
  const auto isUnplugged = host_.suffers(FaultKind::adapterUnplugged);
  if (isUnplugged && adapter_) unplugAdapter();
  if (!isUnplugged && !adapter_) plugAdapter();
  if (adapter_) adapter_->updatePower();
}

}  // namespace zolvex::lab
