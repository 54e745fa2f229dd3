#include "platform/linux/QtMainQueue.h"

#include <algorithm>

namespace zolvex {

namespace {

// A timer takes at most 24.8 days in milliseconds; longer delays are waited for in pieces.
constexpr std::chrono::hours longestWait{24};
constexpr Seconds longestDelay = std::chrono::hours(24 * 365 * 100);

}  // namespace

QtMainQueue::QtMainQueue() {
  timer_.setSingleShot(true);
  timer_.setTimerType(Qt::PreciseTimer);
  QObject::connect(&timer_, &QTimer::timeout, &context_, [this] { runNext(); });
}

void QtMainQueue::async(std::function<void()> work) {
  // Qt's own reference may be the last one, on the calling thread. What the work holds has to end where it has run.
  auto runOnce = [work = std::move(work)]() mutable { std::exchange(work, nullptr)(); };
  QMetaObject::invokeMethod(&context_, std::move(runOnce), Qt::QueuedConnection);
}

WorkItem QtMainQueue::after(Seconds delay, std::function<void()> work) {
  const auto wait = std::clamp(delay, Seconds(0), longestDelay);
  const Key key{Clock::now() + std::chrono::ceil<Clock::duration>(wait), nextSequence_++};
  waiting_.emplace(key, std::move(work));
  if (waiting_.begin()->first == key) arm();
  return WorkItem([this, key, alive = std::weak_ptr(alive_)] {
    if (alive.expired()) return;
    const bool wasNext = !waiting_.empty() && waiting_.begin()->first == key;
    waiting_.erase(key);
    if (wasNext) arm();
  });
}

void QtMainQueue::arm() {
  if (waiting_.empty()) return timer_.stop();
  const auto wait = std::chrono::ceil<std::chrono::milliseconds>(waiting_.begin()->first.first - Clock::now());
  timer_.start(std::clamp<std::chrono::milliseconds>(wait, std::chrono::milliseconds(0), longestWait));
}

void QtMainQueue::runNext() {
  if (waiting_.empty() || waiting_.begin()->first.first > Clock::now()) return arm();
  const auto work = std::move(waiting_.extract(waiting_.begin()).mapped());
  arm();  // first: the work may end this queue, or run an event loop of its own
  work();
}

}  // namespace zolvex
