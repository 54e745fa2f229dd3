#pragma once

#include "peer/PeerTransport.h"

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zolvex::test {

/// A registry that notes what the transport tells it. It answers each command with `answer`, or keeps the channel when
/// there is none.
class FakeTransportDelegate final : public PeerTransportDelegate {
 public:
  void peerTransportReceived(const std::string& text, std::shared_ptr<ReplyChannel> channel) override {
    received.push_back(text);
    if (answer)
      channel->reply(*answer);
    else if (keepsChannels)
      channels.push_back(std::move(channel));
  }
  void peerTransportDiscovered(const NetworkDevice& device) override { discovered.push_back(device); }
  void peerTransportLost(const std::string& id) override { lost.push_back(id); }

  std::optional<DeviceCommand> answer = DeviceCommand::operationSuccess;
  bool keepsChannels = true;
  std::vector<std::string> received;
  std::deque<std::shared_ptr<ReplyChannel>> channels;
  std::vector<NetworkDevice> discovered;
  std::vector<std::string> lost;
};

}  // namespace zolvex::test
