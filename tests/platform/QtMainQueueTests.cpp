#include "platform/linux/QtMainQueue.h"
#include "support/EventLoop.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace zolvex::test {
namespace {

using namespace std::chrono_literals;

struct QtMainQueueTest : testing::Test {
  std::function<void()> note(int what) {
    return [this, what] { order.push_back(what); };
  }
  bool haveRun(std::size_t count) {
    return runUntil([&] { return order.size() >= count; });
  }

  QtMainQueue queue;
  std::vector<int> order;
};

TEST_F(QtMainQueueTest, runsWorkInALaterTurnInTheOrderOfItsSubmission) {
  for (int i = 0; i < 100; ++i) queue.async(note(i));
  EXPECT_TRUE(order.empty());
  ASSERT_TRUE(haveRun(100));
  EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST_F(QtMainQueueTest, runsWorkOfOtherThreadsOnItsOwn) {
  bool wasCurrent = false;
  bool otherWasCurrent = true;
  std::thread other([&] {
    otherWasCurrent = queue.isCurrent();
    queue.async([&] {
      wasCurrent = queue.isCurrent();
      order.push_back(1);
    });
  });
  other.join();
  ASSERT_TRUE(haveRun(1));
  EXPECT_TRUE(wasCurrent);
  EXPECT_FALSE(otherWasCurrent);
}

TEST_F(QtMainQueueTest, whatWorkOfOtherThreadsHoldsEndsOnItsOwn) {
  constexpr int count = 20'000;
  std::atomic<int> ended = 0;
  std::atomic<int> endedElsewhere = 0;
  const auto note = [&](void*) {
    if (!queue.isCurrent()) ++endedElsewhere;
    ++ended;
  };
  std::thread other([&] {
    for (int i = 0; i < count; ++i) queue.async([held = std::shared_ptr<void>(nullptr, note)] {});
  });
  EXPECT_TRUE(runUntil([&] { return ended == count; }));
  other.join();
  EXPECT_EQ(endedElsewhere, 0);
}

TEST_F(QtMainQueueTest, runsDelayedWorkWhenItFallsDueNotBefore) {
  const auto begin = std::chrono::steady_clock::now();
  const auto work = queue.after(30ms, note(1));
  ASSERT_TRUE(haveRun(1));
  EXPECT_GE(std::chrono::steady_clock::now() - begin, 30ms);
}

TEST_F(QtMainQueueTest, runsEarlierWorkFirstWhateverTheOrderOfSubmission) {
  const auto late = queue.after(40ms, note(3));
  const auto early = queue.after(10ms, note(1));
  const auto middle = queue.after(20ms, note(2));
  ASSERT_TRUE(haveRun(3));
  EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST_F(QtMainQueueTest, equalDelaysKeepTheirOrder) {
  std::vector<WorkItem> items;
  for (int i = 0; i < 50; ++i) items.push_back(queue.after(5ms, note(i)));
  ASSERT_TRUE(haveRun(50));
  EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST_F(QtMainQueueTest, cancelledAndForgottenWorkDoesNotRun) {
  auto cancelled = queue.after(1ms, note(1));
  cancelled.cancel();
  { const auto forgotten = queue.after(1ms, note(2)); }
  const auto kept = queue.after(2ms, note(3));
  ASSERT_TRUE(haveRun(1));
  EXPECT_EQ(order, std::vector<int>{3});
}

TEST_F(QtMainQueueTest, workMayCancelItselfAndScheduleAnew) {
  WorkItem item;
  int runs = 0;
  std::function<void()> again = [&] {
    item.cancel();
    order.push_back(++runs);
    if (runs < 3) item = queue.after(1ms, again);
  };
  item = queue.after(1ms, again);
  ASSERT_TRUE(haveRun(3));
}

TEST_F(QtMainQueueTest, takesDelaysOfYears) {
  const auto long_ = queue.after(std::chrono::hours(24 * 365), note(1));
  const auto longest = queue.after(Seconds(1e300), note(2));
  const auto soon = queue.after(1ms, note(3));
  ASSERT_TRUE(haveRun(1));
  EXPECT_EQ(order, std::vector<int>{3});
}

TEST_F(QtMainQueueTest, nothingRunsAfterItsEnd) {
  auto ended = std::make_unique<QtMainQueue>();
  ended->async(note(1));
  auto delayed = ended->after(0ms, note(2));
  ended.reset();
  const auto later = queue.after(5ms, note(3));
  ASSERT_TRUE(haveRun(1));
  delayed.cancel();  // harmless
  EXPECT_EQ(order, std::vector<int>{3});
}

TEST_F(QtMainQueueTest, workMayEndTheQueue) {
  auto ending = std::make_unique<QtMainQueue>();
  const auto first = ending->after(1ms, [&] {
    ending.reset();
    order.push_back(1);
  });
  const auto second = ending->after(1ms, note(2));
  const auto later = queue.after(5ms, note(3));
  ASSERT_TRUE(haveRun(2));
  EXPECT_EQ(order, (std::vector<int>{1, 3}));
}

}  // namespace
}  // namespace zolvex::test
