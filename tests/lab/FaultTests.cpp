#include "lab/Fault.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace zolvex::lab {
namespace {

using namespace Qt::StringLiterals;

TEST(Fault, nameAloneBefallsEverything) {
  EXPECT_EQ(Fault::parse(u"asleep"_s), (Fault{FaultKind::asleep}));
}

TEST(Fault, deviceAndComputerNarrowIt) {
  EXPECT_EQ(Fault::parse(u"hangs-on-pair:Magic Mouse@Studio"_s),
            (Fault{FaultKind::hangsOnPair, u"Magic Mouse"_s, u"Studio"_s}));
  EXPECT_EQ(Fault::parse(u"adapter-off@Laptop"_s), (Fault{FaultKind::adapterOff, {}, u"Laptop"_s}));
}

TEST(Fault, deviceMayBeAnAddress) {
  EXPECT_EQ(Fault::parse(u"asleep:02:5A:00:00:00:01"_s), (Fault{FaultKind::asleep, u"02:5A:00:00:00:01"_s}));
}

TEST(Fault, unknownNameIsNone) {
  EXPECT_FALSE(Fault::parse(u"sleepy"_s));
  EXPECT_FALSE(Fault::parse(u""_s));
  EXPECT_FALSE(Fault::parse(u"Asleep"_s));
}

TEST(Fault, everyDescriptionIsReadBackAsItsKind) {
  std::set<std::string> names;
  for (const auto& description : faultDescriptions()) {
    const auto fault = Fault::parse(QLatin1String(description.name));
    ASSERT_TRUE(fault) << description.name;
    EXPECT_EQ(fault->kind, description.kind);
    EXPECT_TRUE(names.insert(description.name).second) << description.name;
    EXPECT_NE(std::string(description.text), "");
  }
}

}  // namespace
}  // namespace zolvex::lab
