#include "peer/bonjour/ServicePublisherDelegate.h"
#include "support/LogCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace zolvex {
namespace {

TEST(ServicePublisherDelegate, publishedServiceIsLoggedAndPassedOn) {
  test::LogCapture log;
  std::vector<std::string> names;
  ServicePublisherDelegate delegate([&](const std::string& name) { names.push_back(name); });
  delegate.servicePublished("Zolvex-ABC123 #2");
  EXPECT_THAT(names, testing::ElementsAre("Zolvex-ABC123 #2"));
  EXPECT_TRUE(log.contains("Service published: Zolvex-ABC123 #2"));
}

TEST(ServicePublisherDelegate, failureIsLogged) {
  test::LogCapture log;
  log.expectError("Publish failed: ");
  ServicePublisherDelegate delegate([](const std::string&) { FAIL(); });
  delegate.servicePublicationFailed("not permitted");
  EXPECT_TRUE(log.contains("Publish failed: not permitted"));
}

}  // namespace
}  // namespace zolvex
