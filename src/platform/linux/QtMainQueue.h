#pragma once

#include "core/MainQueue.h"

#include <QObject>
#include <QTimer>

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <thread>
#include <utility>

namespace zolvex {

/// The main queue on the event loop of the thread that creates it. Delayed work waits in one ordered table behind one
/// timer, so equal times keep their order, delays may be longer than a timer can wait, and an idle queue wakes nobody.
/// Delays do not run while the computer sleeps. Work still waiting when the queue is destroyed never runs; no other
/// thread may use the queue by then.
class QtMainQueue final : public MainQueue {
 public:
  QtMainQueue();

  Date now() const override { return std::chrono::system_clock::now(); }
  void async(std::function<void()> work) override;
  [[nodiscard]] WorkItem after(Seconds delay, std::function<void()> work) override;
  bool isCurrent() const override { return std::this_thread::get_id() == thread_; }

 private:
  using Clock = std::chrono::steady_clock;
  using Key = std::pair<Clock::time_point, std::uint64_t>;

  void arm();
  void runNext();

  const std::thread::id thread_ = std::this_thread::get_id();
  std::map<Key, std::function<void()>> waiting_;
  std::uint64_t nextSequence_ = 0;
  QObject context_;  // receives the work that async() posts
  QTimer timer_;
  std::shared_ptr<char> alive_ = std::make_shared<char>();
};

}  // namespace zolvex
