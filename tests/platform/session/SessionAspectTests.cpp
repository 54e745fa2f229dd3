#include "platform/linux/SessionAspect.h"
#include "support/VirtualTime.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zolvex::test {
namespace {

using Told = std::vector<std::string>;

struct SessionAspectTest : testing::Test {
  /// Both sources are there and say that it does not hold.
  void lookAtBoth() {
    aspect.found(desktop, false);
    aspect.found(logind, false);
  }
  void hold(SessionAspect::Source source) {
    aspect.changed(source, true);
    EXPECT_EQ(std::exchange(told, {}).size(), 1u);
  }

  static constexpr Seconds moment{0.001};

  VirtualTime time;
  Told told;
  SessionAspect aspect{time, [this](bool holds, const std::string& teller) {
                         told.push_back((holds ? "begun, says " : "ended, says ") + teller);
                       }};
  const SessionAspect::Source desktop = aspect.addSource("desktop");
  const SessionAspect::Source logind = aspect.addSource("logind");
};

TEST_F(SessionAspectTest, aChangeIsTold) {
  lookAtBoth();
  aspect.changed(desktop, true);
  EXPECT_EQ(told, Told{"begun, says desktop"});
  aspect.changed(desktop, false);
  EXPECT_EQ(told, (Told{"begun, says desktop", "ended, says desktop"}));
}

TEST_F(SessionAspectTest, twoSourcesOfOneEventAreToldOnce) {
  lookAtBoth();
  aspect.changed(desktop, true);
  aspect.changed(logind, true);
  aspect.changed(desktop, false);
  aspect.changed(logind, false);
  EXPECT_EQ(told, (Told{"begun, says desktop", "ended, says logind"}));
}

TEST_F(SessionAspectTest, aSecondSourceThatComesSecondsLaterTellsNothingNew) {
  lookAtBoth();
  hold(desktop);
  time.advance(Seconds(30));
  aspect.changed(logind, true);
  aspect.changed(desktop, false);
  time.advance(SessionAspect::objectionLimit - moment);
  aspect.changed(logind, false);
  EXPECT_EQ(told, Told{"ended, says logind"});
  time.advance(Seconds(60));
  EXPECT_EQ(told.size(), 1u);
}

TEST_F(SessionAspectTest, aSourceThatRepeatsItselfTellsNothingNew) {
  lookAtBoth();
  hold(desktop);
  aspect.changed(desktop, true);
  aspect.found(desktop, true);
  EXPECT_EQ(told, Told{});
}

TEST_F(SessionAspectTest, howThingsWereBeforeTheFirstLookIsNoEvent) {
  aspect.found(desktop, true);
  aspect.found(logind, true);
  EXPECT_EQ(told, Told{});
}

TEST_F(SessionAspectTest, theEndOfWhatWasFoundAtTheFirstLookIsToldOnce) {
  aspect.found(desktop, true);
  aspect.found(logind, false);
  aspect.changed(desktop, false);
  EXPECT_EQ(told, Told{"ended, says desktop"});
}

TEST_F(SessionAspectTest, anEndBeforeAnyBeginningIsNoEvent) {
  aspect.changed(desktop, false);
  lookAtBoth();
  EXPECT_EQ(told, Told{});
}

TEST_F(SessionAspectTest, aSourceThatWasAbsentAtFirstTellsWhatItIsFoundToSayLater) {
  aspect.lost(desktop);
  aspect.found(logind, false);
  aspect.found(desktop, true);
  EXPECT_EQ(told, Told{"begun, says desktop"});
}

TEST_F(SessionAspectTest, aSignalThatOvertakesTheFirstLookIsAnEvent) {
  aspect.changed(desktop, true);
  aspect.found(desktop, true);
  EXPECT_EQ(told, Told{"begun, says desktop"});
}

TEST_F(SessionAspectTest, theLossOfASourceEndsNothing) {
  lookAtBoth();
  hold(desktop);
  aspect.lost(desktop);
  time.advance(Seconds(3600));
  EXPECT_EQ(told, Told{});
}

TEST_F(SessionAspectTest, afterTheLossOfItsOnlySourceTheNextBeginningIsTold) {
  lookAtBoth();
  hold(desktop);
  aspect.lost(desktop);
  aspect.changed(logind, true);
  EXPECT_EQ(told, Told{"begun, says logind"});
}

TEST_F(SessionAspectTest, aSourceThatComesBackAsItWasTellsNothingNew) {
  lookAtBoth();
  hold(desktop);
  aspect.lost(desktop);
  aspect.found(desktop, true);
  EXPECT_EQ(told, Told{});
  aspect.changed(desktop, false);
  EXPECT_EQ(told, Told{"ended, says desktop"});
}

TEST_F(SessionAspectTest, anEndDuringTheAbsenceOfTheSourceIsToldWhenItIsBack) {
  lookAtBoth();
  hold(desktop);
  aspect.lost(desktop);
  aspect.found(desktop, false);
  EXPECT_EQ(told, Told{"ended, says desktop"});
}

TEST_F(SessionAspectTest, aBeginningDuringTheAbsenceOfTheSourceIsToldWhenItIsBack) {
  lookAtBoth();
  aspect.lost(desktop);
  aspect.found(desktop, true);
  EXPECT_EQ(told, Told{"begun, says desktop"});
}

TEST_F(SessionAspectTest, aSourceThatNeverSaidSoEndsNothingByItsReturn) {
  lookAtBoth();
  hold(desktop);
  aspect.lost(desktop);
  aspect.lost(logind);
  aspect.found(logind, false);
  aspect.changed(logind, false);
  EXPECT_EQ(told, Told{});
}

TEST_F(SessionAspectTest, aSourceThatForgotByARestartEndsNothingWhileAnotherStillSaysSo) {
  lookAtBoth();
  hold(desktop);
  aspect.changed(logind, true);
  aspect.lost(desktop);
  aspect.found(desktop, false);
  time.advance(Seconds(3600));
  EXPECT_EQ(told, Told{});
  aspect.changed(logind, false);
  EXPECT_EQ(told, Told{"ended, says logind"});
}

TEST_F(SessionAspectTest, aSourceThatNeverTellsOfTheEndIsOverruledByOneThatDoes) {
  lookAtBoth();
  hold(logind);
  aspect.changed(desktop, true);
  aspect.changed(desktop, false);
  time.advance(SessionAspect::objectionLimit - moment);
  EXPECT_EQ(told, Told{});
  time.advance(moment);
  EXPECT_EQ(told, Told{"ended, says desktop"});
}

TEST_F(SessionAspectTest, anOverruledSourceHidesNoFurtherEvent) {
  lookAtBoth();
  hold(logind);
  for (int i = 0; i < 3; ++i) {
    told.clear();
    aspect.changed(desktop, true);
    aspect.changed(desktop, false);
    if (i == 0) time.advance(SessionAspect::objectionLimit);
    ASSERT_FALSE(told.empty());
    EXPECT_EQ(told.back(), "ended, says desktop");
    EXPECT_EQ(told.size(), i == 0 ? 1u : 2u);
  }
}

TEST_F(SessionAspectTest, anOverruledSourceIsBelievedAgainWhenItSpeaks) {
  lookAtBoth();
  hold(logind);
  aspect.changed(desktop, true);
  aspect.changed(desktop, false);
  time.advance(SessionAspect::objectionLimit);
  told.clear();
  aspect.changed(logind, true);
  EXPECT_EQ(told, Told{"begun, says logind"});
}

TEST_F(SessionAspectTest, anEndThatIsTakenBackInTimeIsNone) {
  lookAtBoth();
  hold(desktop);
  aspect.changed(logind, true);
  aspect.changed(desktop, false);
  time.advance(SessionAspect::objectionLimit - moment);
  aspect.changed(desktop, true);
  time.advance(Seconds(60));
  EXPECT_EQ(told, Told{});
}

TEST_F(SessionAspectTest, anEndIsToldAtOnceWhenWhoeverObjectedIsLost) {
  lookAtBoth();
  hold(desktop);
  aspect.changed(logind, true);
  aspect.changed(desktop, false);
  aspect.lost(logind);
  EXPECT_EQ(told, Told{"ended, says desktop"});
  time.advance(Seconds(60));
  EXPECT_EQ(told.size(), 1u);
}

TEST_F(SessionAspectTest, aRequestIsToldOnceTogetherWithItsConfirmation) {
  lookAtBoth();
  aspect.requested(logind, true);
  time.advance(SessionAspect::confirmationLimit - moment);
  aspect.changed(logind, true);
  aspect.changed(desktop, true);
  aspect.changed(desktop, false);
  aspect.changed(logind, false);
  EXPECT_EQ(told, (Told{"begun, says logind", "ended, says logind"}));
}

TEST_F(SessionAspectTest, aRequestForWhatHoldsAlreadyIsNothing) {
  lookAtBoth();
  hold(desktop);
  aspect.requested(logind, true);
  EXPECT_EQ(told, Told{});
}

TEST_F(SessionAspectTest, aRequestToEndLeavesItToThoseWhoSayThatItHolds) {
  lookAtBoth();
  hold(desktop);
  aspect.requested(logind, false);
  time.advance(Seconds(60));
  EXPECT_EQ(told, Told{});
}

TEST_F(SessionAspectTest, aRequestToEndEndsWhatWasOnlyRequested) {
  lookAtBoth();
  aspect.requested(logind, true);
  aspect.requested(logind, false);
  EXPECT_EQ(told, (Told{"begun, says logind", "ended, says logind"}));
}

TEST_F(SessionAspectTest, aRequestThatNobodyConfirmsHidesNoLaterBeginning) {
  lookAtBoth();
  aspect.requested(logind, true);
  time.advance(SessionAspect::confirmationLimit);
  told.clear();
  aspect.changed(desktop, true);
  EXPECT_EQ(told, Told{"begun, says desktop"});
}

TEST_F(SessionAspectTest, requestsThatNobodyEverConfirmsAreEachTold) {
  lookAtBoth();
  aspect.requested(logind, true);
  aspect.requested(logind, true);
  EXPECT_EQ(told.size(), 1u);
  time.advance(SessionAspect::confirmationLimit);
  aspect.requested(logind, true);
  EXPECT_EQ(told.size(), 2u);
}

TEST_F(SessionAspectTest, aPendingEndDiesWithTheAspect) {
  {
    SessionAspect shortLived(time, [](bool, const std::string&) { ADD_FAILURE() << "told by the dead"; });
    const auto source = shortLived.addSource("source");
    const auto other = shortLived.addSource("other");
    shortLived.found(source, true);
    shortLived.found(other, true);
    shortLived.changed(source, false);
  }
  time.advance(Seconds(60));
}

}  // namespace
}  // namespace zolvex::test
