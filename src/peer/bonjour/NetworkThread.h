#pragma once

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/strand.hpp>

#include <thread>

namespace zolvex {

/// The one thread on which all TCP work runs, as the two serial queues that divide it. Owned by the application, made
/// before the transport that uses it and destroyed after it, both on the main thread, where replies are given too: a
/// reply that another thread is still giving would outlive what it is sent through. The main queue must outlive it.
/// Nothing that runs here ever blocks, so stopping takes no longer than the handler that is running.
class NetworkThread {
 public:
  using Queue = asio::strand<asio::io_context::executor_type>;

  NetworkThread();
  ~NetworkThread();
  NetworkThread(const NetworkThread&) = delete;
  NetworkThread& operator=(const NetworkThread&) = delete;

  /// "com.zolvex.service.publisher": the listener and the connections it accepts. Any thread.
  const Queue& publisherQueue() const { return publisherQueue_; }

  /// "com.zolvex.connection": the connections we make. Any thread.
  const Queue& connectionQueue() const { return connectionQueue_; }

  /// Ends the thread; what is pending on the queues never runs. Idempotent; not from the thread itself.
  void stop();

 private:
  asio::io_context context_;
  asio::executor_work_guard<asio::io_context::executor_type> keepRunning_;
  Queue publisherQueue_;
  Queue connectionQueue_;
  std::thread thread_;
};

}  // namespace zolvex
