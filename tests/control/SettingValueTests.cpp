#include "control/zolvexctl/SettingValue.h"

#include <gtest/gtest.h>

namespace zolvex::control {
namespace {

TEST(SettingValue, readsTruthInPlainWords) {
  for (const auto* word : {"true", "on", "Yes", " TRUE "}) EXPECT_EQ(settingValue(word, false), QVariant(true)) << word;
  for (const auto* word : {"false", "off", "no"}) EXPECT_EQ(settingValue(word, true), QVariant(false)) << word;
}

TEST(SettingValue, readsHoursAsNumberFractionOrName) {
  const QVariant hours(-1.0);
  EXPECT_EQ(settingValue("8", hours), QVariant(8.0));
  EXPECT_EQ(settingValue("-1", hours), QVariant(-1.0));
  EXPECT_EQ(settingValue("1/60", hours), QVariant(1.0 / 60));
  EXPECT_EQ(settingValue("5 min", hours), QVariant(5.0 / 60));
  EXPECT_EQ(settingValue("When locked", hours), QVariant(-1.0));
}

TEST(SettingValue, whatIsNeitherStaysText) {
  EXPECT_EQ(settingValue("maybe", true), QVariant(QStringLiteral("maybe")));
  EXPECT_EQ(settingValue("1/0", 1.0), QVariant(QStringLiteral("1/0")));
  EXPECT_EQ(settingValue("1/2/3", 1.0), QVariant(QStringLiteral("1/2/3")));
  EXPECT_EQ(settingValue("true", QVariant()), QVariant(QStringLiteral("true")));
}

}  // namespace
}  // namespace zolvex::control
