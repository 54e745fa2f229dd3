#include "bluetooth/PairedDevicePayload.h"

#include <gtest/gtest.h>

namespace zolvex {
namespace {

using Devices = std::vector<PairedDevicePayload>;

const Devices keyboardAndMouse{{"AA-BB-CC-DD-EE-01", "Magic Keyboard", true},
                               {"AA-BB-CC-DD-EE-02", "Magic Mouse", false}};

Devices decoded(std::string_view json) {
  auto result = decodePairedDevices(json);
  if (const auto* error = std::get_if<PairedDevicesError>(&result)) ADD_FAILURE() << error->description;
  const auto* devices = std::get_if<Devices>(&result);
  return devices ? *devices : Devices{};
}

bool isRefused(std::string_view json) {
  const auto result = decodePairedDevices(json);
  const auto* error = std::get_if<PairedDevicesError>(&result);
  return error != nullptr && !error->description.empty();
}

TEST(PairedDevicePayload, isCompactJsonWithItsThreeKeys) {
  EXPECT_EQ(encodePairedDevices(keyboardAndMouse),
            R"([{"id":"AA-BB-CC-DD-EE-01","name":"Magic Keyboard","isConnected":true},)"
            R"({"id":"AA-BB-CC-DD-EE-02","name":"Magic Mouse","isConnected":false}])");
}

TEST(PairedDevicePayload, noDevicesAreExactlyAnEmptyArray) {
  EXPECT_EQ(encodePairedDevices({}), "[]");
}

TEST(PairedDevicePayload, theOutputHasNoLineFeedWhateverTheNames) {
  const Devices devices{{"AA", "two\nlines", true}};
  EXPECT_EQ(encodePairedDevices(devices).value().find('\n'), std::string::npos);
}

TEST(PairedDevicePayload, aNameThatIsNotUtf8CannotBeEncoded) {
  const Devices devices{{"AA", "fine", true}, {"BB", "\xff", true}};
  EXPECT_EQ(encodePairedDevices(devices), std::nullopt);
}

TEST(PairedDevicePayload, whatWasWrittenIsReadBack) {
  const Devices devices{{"AA", "Ännas \"Keyboard\"\n\U0001F600", true}, {"", "", false}};
  EXPECT_EQ(decoded(encodePairedDevices(devices).value()), devices);
}

TEST(PairedDevicePayload, orderOfKeysSpacesAndFurtherKeysDoNotMatter) {
  EXPECT_EQ(decoded(" [ { \"isConnected\" : true, \"rssi\": -40, \"name\":\"Magic Keyboard\",\n"
                    "\"id\":\"AA-BB-CC-DD-EE-01\" } ] \n"),
            Devices{keyboardAndMouse.front()});
}

TEST(PairedDevicePayload, aRecordWithAMissingOrMistypedFieldSpoilsTheList) {
  EXPECT_TRUE(isRefused(R"([{"id":"A","name":"B"}])"));
  EXPECT_TRUE(isRefused(R"([{"id":"A","isConnected":true}])"));
  EXPECT_TRUE(isRefused(R"([{"name":"B","isConnected":true}])"));
  EXPECT_TRUE(isRefused(R"([{"id":"A","name":"B","isConnected":1}])"));
  EXPECT_TRUE(isRefused(R"([{"id":null,"name":"B","isConnected":true}])"));
  EXPECT_TRUE(isRefused(R"([{"id":"A","name":"B","isConnected":true},7])"));
}

TEST(PairedDevicePayload, whatIsNoListIsRefused) {
  for (const auto* json : {"", "{}", "null", "[", "[]]", "\xff", "Bluetooth is off"})
    EXPECT_TRUE(isRefused(json)) << json;
}

}  // namespace
}  // namespace zolvex
