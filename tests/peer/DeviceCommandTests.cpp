#include "peer/DeviceCommand.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace zolvex {
namespace {

using enum DeviceCommand;

constexpr std::array everyCommand = {healthCheck,   released,         connected,
                                     pleaseRelease, operationSuccess, operationFailed};

TEST(DeviceCommand, hasTheWireTextsOfTheProtocol) {
  EXPECT_EQ(rawValueOf(healthCheck), "HEALTH_CHECK");
  EXPECT_EQ(rawValueOf(released), "RELEASED");
  EXPECT_EQ(rawValueOf(connected), "CONNECTED");
  EXPECT_EQ(rawValueOf(pleaseRelease), "PLEASE_RELEASE");
  EXPECT_EQ(rawValueOf(operationSuccess), "OP_SUCCESS");
  EXPECT_EQ(rawValueOf(operationFailed), "OP_FAILED");
}

TEST(DeviceCommand, everyWireTextIsReadBack) {
  for (const auto command : everyCommand) EXPECT_EQ(deviceCommandFromRawValue(rawValueOf(command)), command);
}

TEST(DeviceCommand, keepsItsOrdinals) {
  for (std::size_t ordinal = 0; ordinal < everyCommand.size(); ++ordinal)
    EXPECT_EQ(static_cast<std::size_t>(everyCommand[ordinal]), ordinal);
}

TEST(DeviceCommand, textThatIsNotExactlyACommandIsNone) {
  for (const auto* text : {"", "health_check", "Connected", " CONNECTED", "CONNECTED ", "CONNECTED\n", "CONNECTEDD",
                           "CONNECTE", "OP_SUCCESS OP_FAILED"})
    EXPECT_EQ(deviceCommandFromRawValue(text), std::nullopt) << '"' << text << '"';
  EXPECT_EQ(deviceCommandFromRawValue(std::string("RELEASED\0", 9)), std::nullopt);
}

}  // namespace
}  // namespace zolvex
