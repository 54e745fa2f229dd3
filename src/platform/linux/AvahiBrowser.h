#pragma once

#include "core/Published.h"
#include "peer/bonjour/DnsSd.h"
#include "platform/linux/AvahiObject.h"
#include "platform/linux/AvahiResolver.h"

#include <QDBusMessage>
#include <QString>
#include <QTimer>

#include <chrono>
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
/// are removed. It browses anew, too, when the daemon has ended the browsing, and when some services have gone after
/// others were left out because there were too many.
/// Owned by the application; the daemon must outlive it. Main thread.
class AvahiBrowser final : public ServiceBrowser {
 public:
  /// Before it browses anew by itself.
  static constexpr std::chrono::milliseconds usualRetryPause{5'000};

  explicit AvahiBrowser(AvahiDaemon& daemon, std::chrono::milliseconds retryPause = usualRetryPause);
  ~AvahiBrowser() override;

  void searchForServices(const std::string& type, const std::string& domain, ServiceBrowserListener& listener) override;
  void resolve(const std::string& name, Seconds limit) override;
  void stop() override;

 private:
  struct Sighting {
    std::set<std::pair<int, int>> places;  // interface and protocol; none until it is seen anew
    bool isLocal = false;
    std::optional<Seconds> resolveLimit;  // once it is to be resolved
    std::unique_ptr<AvahiResolver> resolver;
  };

  struct Item;

  void begin();
  void signalled(const QDBusMessage& signal);
  void itemNew(const Item& item);
  void leaveOut();
  void itemRemove(const Item& item);
  void allForNow();
  void remove(const std::string& name);
  void failed(const QString& error);
  void startResolving(const std::string& name, Sighting& sighting);
  void browsingEnded();

  AvahiDaemon& daemon_;
  const std::chrono::milliseconds retryPause_;
  ServiceBrowserListener* listener_ = nullptr;  // none while not searching
  QString type_;
  QString domain_;
  std::unique_ptr<AvahiObject> browser_;
  std::map<std::string, Sighting> services_;
  bool hasLeftOut_ = false;  // services, because there were too many
  bool isLeavingOutLogged_ = false;
  QTimer retry_;
  Subscription started_;
  Subscription ended_;
};

}  // namespace zolvex
