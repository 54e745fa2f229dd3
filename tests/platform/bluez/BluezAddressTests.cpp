#include "platform/linux/BluezAddress.h"

#include <gtest/gtest.h>

#include <string>

namespace zolvex {
namespace {

TEST(BluezAddress, takesBothNotationsInEitherCase) {
  for (const auto* text : {"02-5A-00-00-00-0F", "02:5A:00:00:00:0F", "02-5a-00-00-00-0f", "02:5a:00:00:00:0f"})
    EXPECT_EQ(bluezAddress(text), "02:5A:00:00:00:0F") << text;
}

TEST(BluezAddress, everythingElseIsNone) {
  for (const auto* text :
       {"", "02", "02-5A-00-00-00", "02-5A-00-00-00-0F-", "02-5A-00-00-00-0F-11", "02-5A-00-00-00-0G",
        "02-5A:00-00-00-0F", "025A0000000F", "02 5A 00 00 00 0F", " 2-5A-00-00-00-0F", "02-5A-00-00-00-F-",
        "----------------", "02_5A_00_00_00_0F", "02-5A-00-00-00-\xc3\xa9"})
    EXPECT_EQ(bluezAddress(text), std::nullopt) << text;
  EXPECT_EQ(bluezAddress(std::string("02-5A-00-00-00-0\0", 17)), std::nullopt);
}

TEST(BluezAddress, printsWithHyphens) {
  EXPECT_EQ(printedAddress("02:5A:00:00:00:0F"), "02-5A-00-00-00-0F");
}

TEST(BluezAddress, comparesWithoutRegardToCase) {
  EXPECT_TRUE(isSameAddress("02:5a:00:00:00:0f", "02:5A:00:00:00:0F"));
  EXPECT_FALSE(isSameAddress("02:5A:00:00:00:0F", "02:5A:00:00:00:0E"));
}

}  // namespace
}  // namespace zolvex
