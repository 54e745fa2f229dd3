#pragma once

#include "core/Time.h"
#include "peer/bonjour/NetworkThread.h"
#include "peer/bonjour/RawSocket.h"
#include "peer/bonjour/TcpListener.h"
#include "support/LogCapture.h"
#include "support/ThreadMainQueue.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace zolvex::test {

inline constexpr std::string_view healthCheckFrame{"HEALTH_CHECK\0", 13};
inline constexpr std::string_view successFrame{"OP_SUCCESS\0", 11};
inline constexpr std::string_view failureFrame{"OP_FAILED\0", 10};

/// A real listener on a real network thread, on loopback, whose commands are answered at once or on the test's word.
class ListenerFixture : public testing::Test {
 protected:
  ~ListenerFixture() override;

  /// Starts the listener. `answersAtOnce` or the channels are kept for answer().
  void start(ListenerLimits limits = {}, bool answersAtOnce = true);
  void cancelListener();
  void shutDown();

  /// Keeps the network thread from doing anything until the result is gone.
  [[nodiscard]] std::promise<void> holdUpNetwork();

  std::uint16_t port() const { return port_; }
  std::vector<std::string> received();

  /// Waits until that many commands came.
  bool waitForCommands(std::size_t count);

  /// Answers the oldest command that waits for it; `times` times.
  void answer(DeviceCommand command, int times = 1);

  /// Lets the oldest waiting command go unanswered.
  void dropChannel();

  /// Waits until this line has been logged.
  bool waitForLog(const std::string& line);

  LogCapture log;

 private:
  bool waitUntil(const std::function<bool()>& condition);

  ThreadMainQueue mainQueue_;
  std::optional<NetworkThread> network_{std::in_place};
  std::shared_ptr<TcpListener> listener_;
  std::uint16_t port_ = 0;
  std::mutex mutex_;
  std::vector<std::string> received_;
  std::deque<std::shared_ptr<ReplyChannel>> channels_;
};

}  // namespace zolvex::test
