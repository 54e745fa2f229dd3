#pragma once

#include "core/Time.h"
#include "platform/linux/AvahiObject.h"

#include <QDBusMessage>
#include <QString>
#include <QTimer>

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zolvex {

class AvahiDaemon;

/// Looks one service up, for both address families at once, and stays to tell when its address or port changes.
/// An IPv4 address is reported at once; with only an IPv6 one it waits a moment for the other. What is not found
/// within the limit is looked up again after a pause, which grows from try to try: the service is still announced.
/// So is an address that was there and went, because the daemon looks only where it found the first one: on another
/// interface the service may be there yet.
/// Owned by the browser, for as long as the service is there and the daemon runs. Main thread.
class AvahiResolver {
 public:
  static constexpr std::chrono::milliseconds waitForIpv4{500};
  static constexpr std::chrono::seconds firstPause{2};
  static constexpr std::chrono::seconds longestPause{60};

  struct Service {
    QString name;
    QString type;
    QString domain;
  };
  using Resolved = std::function<void(const std::vector<std::string>& addresses, std::uint16_t port)>;

  AvahiResolver(AvahiDaemon& daemon, Service service, Seconds limit, Resolved resolved);

 private:
  struct Lookup {
    std::unique_ptr<AvahiObject> object;
    std::optional<std::string> address;
    std::uint16_t port = 0;
  };
  using Report = std::pair<std::vector<std::string>, std::uint16_t>;

  void lookUp();
  void begin(int addressProtocol);
  void signalled(Lookup& lookup, const QDBusMessage& signal);
  void found(Lookup& lookup, const QVariantList& arguments);
  void lost(Lookup& lookup);
  void settle();
  void report();
  void limitReached();
  void lookUpAgainLater();
  bool isAnythingFound() const;

  AvahiDaemon& daemon_;
  const Service service_;
  const std::chrono::milliseconds limitOfOneTry_;
  const Resolved resolved_;
  std::array<Lookup, 2> lookups_;     // by address protocol
  std::optional<Report> lastReport_;  // none while nothing is found
  QTimer limit_;
  QTimer ipv4Wait_;
  QTimer pause_;
  std::chrono::seconds nextPause_ = firstPause;
};

}  // namespace zolvex
