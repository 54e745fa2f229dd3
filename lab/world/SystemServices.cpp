#include "lab/world/SystemServices.h"

#include <QDBusConnectionInterface>

namespace zolvex::lab {

using namespace Qt::StringLiterals;

namespace {

class HostName1 : public BusInterface {
 public:
  HostName1(QString prettyName, QString hostName)
      : prettyName_(std::move(prettyName)), hostName_(std::move(hostName)) {}

  QString name() const override { return u"org.freedesktop.hostname1"_s; }
  QVariantMap properties() const override {
    return {{u"Hostname"_s, hostName_}, {u"StaticHostname"_s, hostName_}, {u"PrettyHostname"_s, prettyName_}};
  }
  bool handle(const BusCall&) override { return false; }

 private:
  QString prettyName_;
  QString hostName_;
};

class Notifications : public BusInterface {
 public:
  explicit Notifications(std::function<void(const QString&)> onShown) : onShown_(std::move(onShown)) {}

  QString name() const override { return u"org.freedesktop.Notifications"_s; }
  bool handle(const BusCall& call) override {
    if (call.member() == u"GetCapabilities"_s) return call.reply({QStringList{u"body"_s, u"sound"_s}}), true;
    if (call.member() == u"GetServerInformation"_s)
      return call.reply({u"zolvex-lab"_s, u"zolvex"_s, u"1"_s, u"1.2"_s}), true;
    if (call.member() == u"CloseNotification"_s) return call.reply(), true;
    if (call.member() != u"Notify"_s || call.signature() != u"susssasa{sv}i"_s) return false;
    call.reply({++lastId_});
    onShown_(call.arguments().value(3).toString());
    return true;
  }

 private:
  std::function<void(const QString&)> onShown_;
  quint32 lastId_ = 0;
};

/// Exports one object under one name on a connection of its own.
std::unique_ptr<BusTree> serve(const QString& busAddress, const QString& connectionName, const QString& path,
                               const std::shared_ptr<BusInterface>& interface) {
  auto tree = std::make_unique<BusTree>(QDBusConnection::connectToBus(busAddress, connectionName));
  if (!tree->attach()) return nullptr;
  tree->add(path, {interface});
  return tree->connection().registerService(interface->name()) ? std::move(tree) : nullptr;
}

}  // namespace

HostNameService::HostNameService(QString prettyName, QString hostName)
    : prettyName_(std::move(prettyName)),
      hostName_(std::move(hostName)),
      connectionName_(u"zolvex-lab-hostname-"_s + hostName_) {}

HostNameService::~HostNameService() {
  tree_.reset();
  QDBusConnection::disconnectFromBus(connectionName_);
}

bool HostNameService::start(const QString& busAddress) {
  tree_ = serve(busAddress, connectionName_, u"/org/freedesktop/hostname1"_s,
                std::make_shared<HostName1>(prettyName_, hostName_));
  return tree_ != nullptr;
}

bool HostNameService::isOnBus(const QString& service) const {
  return tree_ && tree_->connection().interface()->isServiceRegistered(service);
}

NotificationService::NotificationService(const QString& computer)
    : connectionName_(u"zolvex-lab-notifications-"_s + computer) {}

NotificationService::~NotificationService() {
  tree_.reset();
  QDBusConnection::disconnectFromBus(connectionName_);
}

bool NotificationService::start(const QString& busAddress) {
  const auto onShown = [this](const QString& title) {
    titles_.append(title);
    Q_EMIT shown(title);
  };
  tree_ =
      serve(busAddress, connectionName_, u"/org/freedesktop/Notifications"_s, std::make_shared<Notifications>(onShown));
  return tree_ != nullptr;
}

}  // namespace zolvex::lab
