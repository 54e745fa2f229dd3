#include "core/ThreadQueue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <memory>
#include <thread>
#include <vector>

namespace zolvex {
namespace {

TEST(ThreadQueue, runsWorkInSubmissionOrderAwayFromTheCaller) {
  ThreadQueue queue("com.zolvex.test");
  std::vector<int> order;
  std::promise<std::thread::id> ran;
  for (int i = 0; i < 100; ++i) queue.async([&order, i] { order.push_back(i); });
  queue.async([&ran] { ran.set_value(std::this_thread::get_id()); });
  EXPECT_NE(ran.get_future().get(), std::this_thread::get_id());
  ASSERT_EQ(order.size(), 100u);
  EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(ThreadQueue, stoppingFinishesTheRunningPieceAndDropsTheOthers) {
  ThreadQueue queue("com.zolvex.test");
  std::promise<void> begun;
  std::promise<void> mayEnd;
  bool firstFinished = false;
  bool secondRan = false;
  auto dropped = std::make_shared<int>();  // held by the second piece, let go when that is dropped
  const std::weak_ptr<int> secondPiece = dropped;
  queue.async([&] {
    begun.set_value();
    mayEnd.get_future().wait();
    firstFinished = true;
  });
  queue.async([&secondRan, held = std::move(dropped)] { secondRan = true; });
  begun.get_future().wait();
  std::thread stopping([&] { queue.stop(); });
  while (!secondPiece.expired()) std::this_thread::yield();
  mayEnd.set_value();
  stopping.join();
  EXPECT_TRUE(firstFinished);
  EXPECT_FALSE(secondRan);
}

TEST(ThreadQueue, refusesWorkWithoutWaitingForTheRunningPiece) {
  ThreadQueue queue("com.zolvex.test");
  std::promise<void> begun;
  std::promise<void> mayEnd;
  bool firstFinished = false;
  bool otherRan = false;
  queue.async([&] {
    begun.set_value();
    mayEnd.get_future().wait();
    firstFinished = true;
  });
  queue.async([&] { otherRan = true; });
  begun.get_future().wait();
  queue.refuseWork();
  queue.async([&] { otherRan = true; });
  mayEnd.set_value();
  queue.stop();
  EXPECT_TRUE(firstFinished);
  EXPECT_FALSE(otherRan);
}

TEST(ThreadQueue, workAfterStoppingIsDropped) {
  ThreadQueue queue("com.zolvex.test");
  queue.stop();
  bool ran = false;
  queue.async([&] { ran = true; });
  queue.stop();
  EXPECT_FALSE(ran);
}

TEST(ThreadQueue, aQueueThatNeverWorkedEndsAtOnce) {
  ThreadQueue queue("com.zolvex.test");
}

}  // namespace
}  // namespace zolvex
