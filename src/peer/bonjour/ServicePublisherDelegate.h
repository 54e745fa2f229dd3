#pragma once

#include "peer/bonjour/DnsSd.h"

#include <functional>
#include <optional>
#include <string>

namespace zolvex {

/// Logs what becomes of the publication of our service and passes on the name it has. Owned by the transport, one for
/// each start. Main thread.
class ServicePublisherDelegate final : public ServicePublicationListener {
 public:
  /// None once the publication is lost.
  using NameHandler = std::function<void(const std::optional<std::string>& name)>;

  explicit ServicePublisherDelegate(NameHandler nameChanged);

  void servicePublished(const std::string& name) override;
  void servicePublicationFailed(const std::string& error) override;
  void servicePublicationLost() override;

 private:
  const NameHandler nameChanged_;
};

}  // namespace zolvex
