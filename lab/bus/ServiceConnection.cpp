#include "lab/bus/ServiceConnection.h"

#include <QDBusConnectionInterface>
#include <QDBusReply>

#include <atomic>

namespace zolvex::lab {

using namespace Qt::StringLiterals;

namespace {

QString nextName() {
  static std::atomic<int> count = 0;
  return u"zolvex-lab-service-%1"_s.arg(++count);
}

}  // namespace

ServiceConnection::ServiceConnection(const QString& busAddress)
    : name_(nextName()), tree_(std::make_unique<BusTree>(QDBusConnection::connectToBus(busAddress, name_))) {}

ServiceConnection::~ServiceConnection() {
  tree_.reset();
  QDBusConnection::disconnectFromBus(name_);
}

quint32 ServiceConnection::processOf(const QString& client) const {
  return tree_->connection().interface()->servicePid(client);
}

quint32 ServiceConnection::userOf(const QString& client) const {
  return tree_->connection().interface()->serviceUid(client);
}

}  // namespace zolvex::lab
