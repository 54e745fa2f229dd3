#include "core/ThreadQueue.h"

#include <pthread.h>
#include <utility>

namespace zolvex {

namespace {

constexpr std::size_t kernelThreadNameLength = 15;

void nameCurrentThread(const std::string& label) {
  const auto start = label.size() > kernelThreadNameLength ? label.size() - kernelThreadNameLength : 0;
  pthread_setname_np(pthread_self(), label.c_str() + start);
}

}  // namespace

ThreadQueue::ThreadQueue(std::string label) : label_(std::move(label)) {}

ThreadQueue::~ThreadQueue() {
  stop();
}

void ThreadQueue::async(std::function<void()> work) {
  const std::lock_guard lock(mutex_);
  if (stopped_) return;
  pending_.push_back(std::move(work));
  if (!thread_.joinable()) thread_ = std::thread([this] { run(); });
  wake_.notify_one();
}

void ThreadQueue::refuseWork() {
  std::deque<std::function<void()>> dropped;
  {
    const std::lock_guard lock(mutex_);
    stopped_ = true;
    dropped.swap(pending_);
    wake_.notify_one();
  }
  dropped.clear();  // outside the lock: what the work holds may run code when it goes
}

void ThreadQueue::stop() {
  refuseWork();
  if (thread_.joinable()) thread_.join();
}

void ThreadQueue::run() {
  nameCurrentThread(label_);
  std::unique_lock lock(mutex_);
  for (;;) {
    wake_.wait(lock, [this] { return stopped_ || !pending_.empty(); });
    if (stopped_) return;
    auto work = std::move(pending_.front());
    pending_.pop_front();
    lock.unlock();
    work();
    work = nullptr;
    lock.lock();
  }
}

}  // namespace zolvex
