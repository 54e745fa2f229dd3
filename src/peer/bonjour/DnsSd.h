#pragma once

#include "core/Time.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace zolvex {

/// Hears what became of a publication. Main thread.
class ServicePublicationListener {
 public:
  virtual ~ServicePublicationListener() = default;

  /// Established under `name`: the wanted one, or another when that one was taken on the network.
  virtual void servicePublished(const std::string& name) = 0;
  virtual void servicePublicationFailed(const std::string& error) = 0;

  /// It is no longer there: the system's DNS-SD service went away, or somebody else has the name. Another attempt
  /// follows, if only when the DNS-SD service is back.
  virtual void servicePublicationLost() = 0;
};

/// Publishes one DNS-SD service. Main thread.
class ServicePublisher {
 public:
  struct Service {
    std::string name;
    std::string type;    ///< "_zolvex._tcp."
    std::string domain;  ///< "local."
    std::uint16_t port = 0;
    std::map<std::string, std::string> txtRecord;
  };

  virtual ~ServicePublisher() = default;

  /// Replaces an earlier publication. While the system's DNS-SD service is away the publication waits; when it comes
  /// (back), it is made (anew). The listener is told each time and must outlive the publication.
  virtual void publish(const Service& service, ServicePublicationListener& listener) = 0;

  /// Replaces the TXT record of the publication. The service does not go away for it; the listener hears nothing.
  virtual void updateTxtRecord(const std::map<std::string, std::string>& record) = 0;

  /// Afterwards the listener is not called any more.
  virtual void unpublish() = 0;
};

/// Hears which services are on the network. One service is one name, however many interfaces and address families
/// show it. Main thread.
class ServiceBrowserListener {
 public:
  virtual ~ServiceBrowserListener() = default;

  /// `isLocal` tells that this computer itself publishes it.
  virtual void serviceFound(const std::string& name, bool isLocal) = 0;
  virtual void serviceRemoved(const std::string& name) = 0;

  /// The answer to resolve(): numeric addresses (link-local IPv6 ones with their scope), IPv4 first.
  virtual void serviceResolved(const std::string& name, const std::vector<std::string>& addresses,
                               std::uint16_t port) = 0;
};

/// Browses for services of one type. Main thread.
class ServiceBrowser {
 public:
  /// Reported at once. Anybody can announce any number, so what comes beyond them is left out until some have gone.
  static constexpr std::size_t maximumServices = 256;

  virtual ~ServiceBrowser() = default;

  /// Starts to report; continues by itself after the system's DNS-SD service was away. The listener must outlive it.
  virtual void searchForServices(const std::string& type, const std::string& domain,
                                 ServiceBrowserListener& listener) = 0;

  /// Looks up a found service and answers with serviceResolved(). What is not known within `limit` is looked up again
  /// after a pause for as long as the service is there, so the answer may come late or never. When the service moves
  /// later on, serviceResolved() is called again.
  virtual void resolve(const std::string& name, Seconds limit) = 0;

  /// Afterwards the listener is not called any more.
  virtual void stop() = 0;
};

}  // namespace zolvex
