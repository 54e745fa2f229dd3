#include "peer/NetworkDevice.h"

#include <gtest/gtest.h>

#include <string>

namespace zolvex {
namespace {

using namespace std::chrono_literals;

constexpr Date referenceDate{std::chrono::sys_days{std::chrono::year{2001} / 1 / 1}.time_since_epoch()};

NetworkDevice studio() {
  return {.id = "A1B2C3",
          .name = "Studio",
          .host = "192.0.2.7",
          .port = std::uint16_t{50123},
          .lastUpdated = referenceDate + 100s,
          .isActive = true,
          .lastReachableAt = referenceDate + 99500ms};
}

/// A peer without any of the optional fields.
NetworkDevice bareDevice(std::string id, std::string name) {
  NetworkDevice device;
  device.id = std::move(id);
  device.name = std::move(name);
  device.lastUpdated = referenceDate;
  return device;
}

/// The only device of a list that must decode.
NetworkDevice decoded(std::string_view json) {
  const auto result = decodeNetworkDevices(json);
  if (const auto* error = std::get_if<NetworkDevicesError>(&result)) {
    ADD_FAILURE() << error->description;
    return {};
  }
  const auto& devices = std::get<std::vector<NetworkDevice>>(result);
  EXPECT_EQ(devices.size(), 1u);
  return devices.empty() ? NetworkDevice{} : devices.front();
}

bool isRefused(std::string_view json) {
  const auto result = decodeNetworkDevices(json);
  const auto* error = std::get_if<NetworkDevicesError>(&result);
  return error != nullptr && !error->description.empty();
}

/// A record with `fields` besides the required ones.
std::string recordWith(const std::string& fields) {
  return R"([{"id":"A","name":"B","lastUpdated":0,"isActive":true)" + fields + "}]";
}

TEST(NetworkDevice, isStoredUnderTheNamesOfItsFields) {
  const std::vector devices{studio()};
  EXPECT_EQ(encodeNetworkDevices(devices),
            R"([{"id":"A1B2C3","name":"Studio","host":"192.0.2.7","port":50123,"lastUpdated":100.0,)"
            R"("isActive":true,"lastReachableAt":99.5}])");
}

TEST(NetworkDevice, absentFieldsAreLeftOut) {
  const std::vector devices{bareDevice("A", "B")};
  EXPECT_EQ(encodeNetworkDevices(devices), R"([{"id":"A","name":"B","lastUpdated":0.0,"isActive":false}])");
}

TEST(NetworkDevice, anEmptyListIsAnEmptyArray) {
  EXPECT_EQ(encodeNetworkDevices({}), "[]");
}

TEST(NetworkDevice, textThatIsNotUtf8CannotBeStored) {
  for (auto spoil : {+[](NetworkDevice& d) { d.id = "\xff"; }, +[](NetworkDevice& d) { d.name = "\xff"; },
                     +[](NetworkDevice& d) { d.host = "\xff"; }}) {
    std::vector devices{studio(), studio()};
    spoil(devices.back());
    EXPECT_EQ(encodeNetworkDevices(devices), std::nullopt);
  }
}

TEST(NetworkDevice, whatWasStoredIsReadBack) {
  std::vector devices{studio(), bareDevice("\u00c4", "\"quoted\"\n")};
  const auto result = decodeNetworkDevices(encodeNetworkDevices(devices).value());
  ASSERT_TRUE(std::holds_alternative<std::vector<NetworkDevice>>(result));
  EXPECT_EQ(std::get<std::vector<NetworkDevice>>(result), devices);
}

TEST(NetworkDevice, aDateFarAwayIsReadBackToTheMicrosecond) {
  auto device = bareDevice("A", "B");
  device.lastUpdated = referenceDate + 7'850'000'025s;
  device.lastReachableAt = referenceDate - 7'850'000'025s + 1us;
  const std::vector devices{device};
  EXPECT_EQ(decoded(encodeNetworkDevices(devices).value()), device);
}

TEST(NetworkDevice, furtherFieldsAreIgnored) {
  EXPECT_EQ(decoded(recordWith(R"(,"colour":"red")")).id, "A");
}

TEST(NetworkDevice, aNullOptionalIsAbsent) {
  const auto device = decoded(recordWith(R"(,"host":null,"port":null,"lastReachableAt":null)"));
  EXPECT_FALSE(device.host || device.port || device.lastReachableAt);
}

TEST(NetworkDevice, oneBadRecordSpoilsTheList) {
  EXPECT_TRUE(isRefused(R"([{"id":"A","name":"B","lastUpdated":0,"isActive":true},{"id":"C"}])"));
}

TEST(NetworkDevice, aMistypedFieldIsRefused) {
  EXPECT_TRUE(isRefused(R"([{"id":1,"name":"B","lastUpdated":0,"isActive":true}])"));
  EXPECT_TRUE(isRefused(R"([{"id":"A","name":null,"lastUpdated":0,"isActive":true}])"));
  EXPECT_TRUE(isRefused(R"([{"id":"A","name":"B","lastUpdated":"0","isActive":true}])"));
  EXPECT_TRUE(isRefused(R"([{"id":"A","name":"B","lastUpdated":true,"isActive":true}])"));
  EXPECT_TRUE(isRefused(R"([{"id":"A","name":"B","lastUpdated":0,"isActive":1}])"));
  EXPECT_TRUE(isRefused(recordWith(R"(,"host":7)")));
}

TEST(NetworkDevice, aPortMustBeOne) {
  EXPECT_EQ(decoded(recordWith(R"(,"port":65535)")).port, 65535);
  EXPECT_EQ(decoded(recordWith(R"(,"port":8080.0)")).port, 8080) << "other programs write whole numbers so, too";
  for (const auto* port : {"65536", "65536.0", "-1", "-1.0", "1e300", "80.5", "\"80\"", "true", "18446744073709551615"})
    EXPECT_TRUE(isRefused(recordWith(R"(,"port":)" + std::string(port)))) << port;
}

TEST(NetworkDevice, aDateBeyondTheClockIsRefused) {
  for (const auto* date : {"1e300", "-1e300", "8e9"})
    EXPECT_TRUE(isRefused(recordWith(R"(,"lastReachableAt":)" + std::string(date)))) << date;
}

TEST(NetworkDevice, whatIsNoListIsRefused) {
  for (const auto* json : {"", "{}", "null", "[", "[1]", "[[]]", "\xff", "[]x"}) EXPECT_TRUE(isRefused(json)) << json;
}

}  // namespace
}  // namespace zolvex
