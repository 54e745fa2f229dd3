#include "peer/bonjour/ServicePublisherDelegate.h"

#include "core/Log.h"
#include "core/Text.h"

#include <utility>

namespace zolvex {

namespace {

constexpr Logger logger("Bonjour");

}  // namespace

ServicePublisherDelegate::ServicePublisherDelegate(NameHandler nameChanged) : nameChanged_(std::move(nameChanged)) {}

void ServicePublisherDelegate::servicePublished(const std::string& name) {
  logger.info("Service published: {}", escapedForLog(name));
  nameChanged_(name);
}

void ServicePublisherDelegate::servicePublicationFailed(const std::string& error) {
  logger.error("Publish failed: {}", escapedForLog(error));
  nameChanged_(std::nullopt);
}

void ServicePublisherDelegate::servicePublicationLost() {
  nameChanged_(std::nullopt);
}

}  // namespace zolvex
