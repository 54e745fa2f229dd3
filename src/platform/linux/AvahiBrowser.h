#pragma once

#include "core/Published.h"
#include "peer/bonjour/DnsSd.h"
#include "platform/linux/AvahiResolver.h"

#include <QDBusMessage>
#include <QObject>
#include <QString>

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>

namespace zolvex {

class AvahiDaemon;

/// Browses through avahi-daemon. The daemon reports a service once for each interface and protocol that shows it; here
/// that is one service, there from the first report until the last is taken back. When the daemon restarts, the
/// services are kept and looked up again as they reappear; those that have not by the time it has told all it knows
/// are removed.
/// Owned by the application; the daemon must outlive it. Main thread.
class AvahiBrowser final : public QObject, public ServiceBrowser {
  Q_OBJECT

 public:
  explicit AvahiBrowser(AvahiDaemon& daemon);
  ~AvahiBrowser() override;

  void searchForServices(const std::string& type, const std::string& domain, ServiceBrowserListener& listener) override;
  void resolve(const std::string& name, Seconds limit) override;
  void stop() override;

 private:
  struct Sighting {
    std::set<std::pair<int, int>> places;  // interface and protocol; none since the daemon ended
    bool isLocal = false;
    std::optional<Seconds> resolveLimit;  // once it is to be resolved
    std::unique_ptr<AvahiResolver> resolver;
  };

  void begin();
  void browserMade(const QString& path);
  void startResolving(const std::string& name, Sighting& sighting);
  void dropBrowser();
  void daemonEnded();
  bool isFromBrowser(const QDBusMessage& message) const;

 private Q_SLOTS:
  void itemNew(const QDBusMessage& message);
  void itemRemove(const QDBusMessage& message);
  void allForNow(const QDBusMessage& message);
  void failure(const QDBusMessage& message);

 private:
  AvahiDaemon& daemon_;
  ServiceBrowserListener* listener_ = nullptr;  // none while not searching
  QString type_;
  QString domain_;
  QString browserPath_;   // empty while there is none
  unsigned attempt_ = 0;  // answers that belong to an earlier one are not heard
  std::map<std::string, Sighting> services_;
  Subscription started_;
  Subscription ended_;
};

}  // namespace zolvex
