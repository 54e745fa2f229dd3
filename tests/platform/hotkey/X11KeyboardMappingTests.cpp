#include "platform/linux/hotkey/X11KeyboardMapping.h"

#include <gtest/gtest.h>

#include <xcb/xproto.h>

namespace zolvex::test {
namespace {

constexpr std::uint32_t numLock = 0xff7f, leftAlt = 0xffe9, cyrillicVe = 0x6d7;
constexpr unsigned controlAlt = XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1;
const HotKey hotKey{{"ZLVX", 1}, 'd', true, true};

/// Keycodes 8 to 59 with two columns, two keys for each modifier, Num Lock on the second of them.
struct MappingTest : testing::Test {
  MappingTest() {
    mapping.firstKeycode = 8;
    mapping.keysymsPerKeycode = 2;
    mapping.keysyms.assign(2 * 52, 0);
    mapping.keycodesPerModifier = 2;
    mapping.modifierKeycodes.assign(16, 0);
  }
  void setKey(std::uint8_t keycode, std::size_t column, std::uint32_t keysym) {
    mapping.keysyms[(keycode - 8u) * 2 + column] = keysym;
  }
  void setModifier(std::size_t modifier, std::uint8_t keycode, std::uint32_t keysym) {
    mapping.modifierKeycodes[modifier * 2 + 1] = keycode;
    setKey(keycode, 0, keysym);
  }
  using Combinations = std::vector<X11KeyCombination>;
  static Combinations withLocks(std::uint8_t keycode, unsigned modifiers, unsigned num) {
    const auto with = [&](unsigned locks) {
      return X11KeyCombination{keycode, static_cast<std::uint16_t>(modifiers | locks)};
    };
    return {with(0), with(XCB_MOD_MASK_LOCK), with(num), with(num | XCB_MOD_MASK_LOCK)};
  }

  X11KeyboardMapping mapping;
};

TEST_F(MappingTest, theKeyIsTakenUnderEveryCombinationOfTheLocks) {
  setKey(40, 0, 'd');
  setModifier(4, 50, numLock);
  EXPECT_EQ(mapping.combinationsFor(hotKey), withLocks(40, controlAlt, XCB_MOD_MASK_2));
}

TEST_F(MappingTest, numLockMayBeAnotherModifierThanUsual) {
  setKey(40, 0, 'd');
  setModifier(6, 50, numLock);
  EXPECT_EQ(mapping.combinationsFor(hotKey), withLocks(40, controlAlt, XCB_MOD_MASK_4));
}

TEST_F(MappingTest, altMayBeAnotherModifierThanUsual) {
  setKey(40, 0, 'd');
  setModifier(4, 50, numLock);
  setModifier(7, 51, leftAlt);
  EXPECT_EQ(mapping.combinationsFor(hotKey), withLocks(40, XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_5, XCB_MOD_MASK_2));
}

TEST_F(MappingTest, withoutNumLockNothingIsTakenTwice) {
  setKey(40, 0, 'd');
  const auto combinations = mapping.combinationsFor(hotKey);
  EXPECT_EQ(combinations, (Combinations{{40, controlAlt}, {40, controlAlt | XCB_MOD_MASK_LOCK}}));
}

TEST_F(MappingTest, theLetterCountsAndNotThePlace) {
  setKey(43, 0, 'd');
  EXPECT_EQ(mapping.combinationsFor(hotKey).front().keycode, 43);
}

TEST_F(MappingTest, theFirstLayoutCountsBeforeTheSecond) {
  setKey(40, 1, 'd');
  setKey(43, 0, 'd');
  EXPECT_EQ(mapping.keycodesOf('d'), std::vector<std::uint8_t>{43});
}

TEST_F(MappingTest, aLayoutWithLatinLettersOnlyBesidesWillDo) {
  setKey(44, 0, cyrillicVe);
  setKey(44, 1, 'd');
  EXPECT_EQ(mapping.keycodesOf('d'), std::vector<std::uint8_t>{44});
}

TEST_F(MappingTest, allKeysWithTheLetterAreTaken) {
  setKey(40, 0, 'd');
  setKey(45, 0, 'd');
  EXPECT_EQ(mapping.keycodesOf('d'), (std::vector<std::uint8_t>{40, 45}));
  EXPECT_EQ(mapping.combinationsFor(hotKey).size(), 4u);
}

TEST_F(MappingTest, withoutTheLetterItIsTheKeyWhereAnAnsiKeyboardHasIt) {
  setKey(40, 0, cyrillicVe);
  EXPECT_EQ(mapping.combinationsFor(hotKey).front(), (X11KeyCombination{40, controlAlt}));
}

TEST_F(MappingTest, whatAServerShouldNotSendIsHarmless) {
  mapping.modifierKeycodes.assign(16, 255);
  EXPECT_EQ(mapping.maskOf(numLock), 0);
  mapping.modifierKeycodes.assign(16, 3);
  EXPECT_EQ(mapping.maskOf(numLock), 0);
  mapping = {};
  EXPECT_EQ(mapping.combinationsFor(hotKey).size(), 2u);
}

}  // namespace
}  // namespace zolvex::test
