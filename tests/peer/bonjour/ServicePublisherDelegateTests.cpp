#include "peer/bonjour/ServicePublisherDelegate.h"
#include "support/LogCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace zolvex {
namespace {

TEST(ServicePublisherDelegate, publishedServiceIsLoggedAndPassedOn) {
  test::LogCapture log;
  std::vector<std::optional<std::string>> names;
  ServicePublisherDelegate delegate([&](const auto& name) { names.push_back(name); });
  delegate.servicePublished("Zolvex-ABC123 #2");
  EXPECT_THAT(names, testing::ElementsAre("Zolvex-ABC123 #2"));
  EXPECT_TRUE(log.contains("Service published: Zolvex-ABC123 #2"));
}

TEST(ServicePublisherDelegate, failureIsLogged) {
  test::LogCapture log;
  log.expectError("Publish failed: ");
  std::vector<std::optional<std::string>> names;
  ServicePublisherDelegate delegate([&](const auto& name) { names.push_back(name); });
  delegate.servicePublicationFailed("not permitted");
  EXPECT_TRUE(log.contains("Publish failed: not permitted"));
  EXPECT_THAT(names, testing::ElementsAre(std::nullopt));
}

TEST(ServicePublisherDelegate, aNameThatIsLostIsTakenBack) {
  test::LogCapture log;
  std::vector<std::optional<std::string>> names;
  ServicePublisherDelegate delegate([&](const auto& name) { names.push_back(name); });
  delegate.servicePublicationLost();
  EXPECT_THAT(names, testing::ElementsAre(std::nullopt));
  EXPECT_THAT(log.lines(), testing::IsEmpty());
}

}  // namespace
}  // namespace zolvex
