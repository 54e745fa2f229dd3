#pragma once

#include "peer/bonjour/DnsSd.h"

#include <functional>
#include <string>

namespace zolvex {

/// Logs what becomes of the publication of our service and passes on the name it got. Owned by the transport, one for
/// each start. Main thread.
class ServicePublisherDelegate final : public ServicePublicationListener {
 public:
  explicit ServicePublisherDelegate(std::function<void(const std::string& name)> published);

  void servicePublished(const std::string& name) override;
  void servicePublicationFailed(const std::string& error) override;

 private:
  const std::function<void(const std::string&)> published_;
};

}  // namespace zolvex
