#include "core/Text.h"

#include <gtest/gtest.h>

#include <string>

namespace zolvex {
namespace {

TEST(Text, trimsWhiteSpaceAndLineEndsAtBothEndsOnly) {
  EXPECT_EQ(trimmed(" \t\r\n a b \n"), "a b");
  EXPECT_EQ(trimmed("\u00a0\u2003name\u3000\u2028"), "name");
  EXPECT_EQ(trimmed(" \n "), "");
  EXPECT_EQ(trimmed(""), "");
}

TEST(Text, trimmingKeepsBytesThatAreNotUtf8) {
  EXPECT_EQ(trimmed(" \xff "), "\xff");
}

TEST(Text, changesTheCaseOfAsciiLettersOnly) {
  EXPECT_EQ(lowercased("MAGIC Ä"), "magic Ä");
  EXPECT_EQ(uppercased("ab12-ß"), "AB12-ß");
}

TEST(Text, recognisesWellFormedUtf8) {
  EXPECT_TRUE(isUtf8(""));
  EXPECT_TRUE(isUtf8("a\u00e9\u20ac\U0001F600"));
  EXPECT_FALSE(isUtf8("\xc0\x80"));          // overlong
  EXPECT_FALSE(isUtf8("\xed\xa0\x80"));      // surrogate
  EXPECT_FALSE(isUtf8("\xf4\x90\x80\x80"));  // above U+10FFFF
  EXPECT_FALSE(isUtf8("\xe2\x82"));          // cut off
  EXPECT_FALSE(isUtf8("\x80"));
}

TEST(Text, takesTheFirstCharactersNotBytes) {
  EXPECT_EQ(firstCharacters("äöü", 2), "äö");
  EXPECT_EQ(firstCharacters("abc", 30), "abc");
}

TEST(Text, escapesControlCharactersForTheLog) {
  EXPECT_EQ(escapedForLog("a\nb\x1b[31m"), "a\\x0ab\\x1b[31m");
  EXPECT_EQ(escapedForLog("\xff"), "\\xff");
  EXPECT_EQ(escapedForLog("ä\u2028"), "ä\\xe2\\x80\\xa8");
}

TEST(Text, cutsLoggedTextToSixtyFourCharacters) {
  EXPECT_EQ(escapedForLog(std::string(65, 'x')), std::string(64, 'x'));
  EXPECT_EQ(escapedForLog(std::string(64, 'x')), std::string(64, 'x'));
}

}  // namespace
}  // namespace zolvex
