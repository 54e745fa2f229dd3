#include "peer/bonjour/ServicePublisherDelegate.h"

#include "core/Log.h"
#include "core/Text.h"

#include <utility>

namespace zolvex {

namespace {

constexpr Logger logger("Bonjour");

}  // namespace

ServicePublisherDelegate::ServicePublisherDelegate(std::function<void(const std::string&)> published)
    : published_(std::move(published)) {}

void ServicePublisherDelegate::servicePublished(const std::string& name) {
  logger.info("Service published: {}", escapedForLog(name));
  published_(name);
}

void ServicePublisherDelegate::servicePublicationFailed(const std::string& error) {
  logger.error("Publish failed: {}", escapedForLog(error));
}

}  // namespace zolvex
