#pragma once

#include "core/Log.h"
#include "core/MainQueue.h"
#include "peer/DeviceCommand.h"
#include "peer/FrameReader.h"
#include "peer/ReplyChannel.h"
#include "peer/bonjour/ListenerLimits.h"
#include "peer/bonjour/OccasionalLog.h"

#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace zolvex {

/// One connection that a peer made to us. It reads one frame, hands its first line to the main queue with a channel
/// for the reply, writes that reply and half-closes, and then reads on until the requester closes, because closing
/// with unread bytes would reset the connection and could destroy the reply on its way.
/// Each of these phases has a limit, and the timer that keeps it also keeps the object alive: nobody else owns it.
/// Runs on the publisher queue.
class AcceptedConnection : public std::enable_shared_from_this<AcceptedConnection> {
 public:
  enum class Phase { reading, answering, replying, leaving, closed };

  /// Runs on the main queue.
  using CommandHandler = std::function<void(const std::string& text, std::shared_ptr<ReplyChannel> channel)>;

  /// What all connections of one listener share.
  struct Surroundings {
    MainQueue& mainQueue;
    CommandHandler handleCommand;
    ListenerLimits limits;
    OccasionalLog occasionalLog;
    std::function<void()> answered = {};  ///< A connection isBeingAnswered() no longer.
  };

  AcceptedConnection(asio::ip::tcp::socket socket, std::shared_ptr<Surroundings> surroundings);

  void start();
  Phase phase() const { return phase_; }

  /// Whether the whole frame has come, even if only by now, and the reply has not been written yet.
  bool isBeingAnswered();

  /// For how long it has been.
  Seconds waitForReply() const { return asio::steady_timer::clock_type::now() - commandTime_; }
  void close();

  /// Writes the reply, if none was written yet. Any thread.
  void reply(DeviceCommand command);

  /// No reply will come. Any thread.
  void abandon();

 private:
  void limitPhase(Seconds limit);
  void limitReached();
  void awaitFrame();
  void takeWhatHasCome();
  void handleMessage();
  void send(DeviceCommand command);
  void leave();
  void awaitFarewell();
  void readFarewell();

  asio::ip::tcp::socket socket_;
  asio::steady_timer deadline_;
  const std::shared_ptr<Surroundings> surroundings_;
  Phase phase_ = Phase::reading;
  FrameReader reader_;
  std::string frame_;
  asio::steady_timer::time_point commandTime_;
  std::size_t farewellBytes_ = 0;
};

}  // namespace zolvex
