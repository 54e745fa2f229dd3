#include "lab/LabProgram.h"

namespace zolvex::lab {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

constexpr std::chrono::milliseconds dayLimit = 150s;

TEST_F(LabProgram, devicesFollowTheUserThroughADay) {
  const auto run = lab({u"demo"_s, u"--story"_s, u"day"_s}, dayLimit);
  EXPECT_EQ(run.exitStatus, 0) << run.output.toStdString();
  EXPECT_TRUE(lastLineOf(run).startsWith("day: 3 devices moved 5 times, every time within "));
  EXPECT_TRUE(leftNothingBehind());
}

}  // namespace
}  // namespace zolvex::lab
