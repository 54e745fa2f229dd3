#pragma once

#include "core/Published.h"
#include "peer/bonjour/DnsSd.h"
#include "platform/linux/AvahiObject.h"

#include <QDBusMessage>
#include <QString>

#include <map>
#include <memory>
#include <optional>
#include <string>

namespace zolvex {

class AvahiDaemon;

/// Publishes one service through avahi-daemon: makes an entry group, adds the service to it, commits it and listens to
/// what becomes of it. A name that is taken, on this computer or on the network, is followed by the next one
/// ("Zolvex-ABC123", "Zolvex-ABC123 #2", ...). When the daemon comes back it all begins anew, with the wanted name.
/// Owned by the application; the daemon must outlive it. Main thread.
class AvahiPublisher final : public ServicePublisher {
 public:
  static constexpr int maximumNames = 20;  ///< Tried before it gives up.

  explicit AvahiPublisher(AvahiDaemon& daemon);
  ~AvahiPublisher() override;

  void publish(const Service& service, ServicePublicationListener& listener) override;
  void updateTxtRecord(const std::map<std::string, std::string>& record) override;
  void unpublish() override;

 private:
  void begin();
  void addService();
  void added(const QDBusMessage& reply);
  void commit();
  void stateChanged(int state, const QString& error);
  void tryNextName();
  void failed(const QString& error);
  void daemonEnded();
  std::string currentName() const;

  AvahiDaemon& daemon_;
  std::optional<Service> wanted_;
  ServicePublicationListener* listener_ = nullptr;
  int nameNumber_ = 1;
  std::unique_ptr<AvahiObject> group_;
  bool isGroupMade_ = false;
  Subscription started_;
  Subscription ended_;
};

}  // namespace zolvex
