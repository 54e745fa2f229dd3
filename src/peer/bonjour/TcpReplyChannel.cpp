#include "peer/bonjour/TcpReplyChannel.h"

#include "peer/bonjour/AcceptedConnection.h"

#include <utility>

namespace zolvex {

TcpReplyChannel::TcpReplyChannel(std::weak_ptr<AcceptedConnection> connection) : connection_(std::move(connection)) {}

TcpReplyChannel::~TcpReplyChannel() {
  if (const auto connection = connection_.lock()) connection->abandon();
}

void TcpReplyChannel::reply(DeviceCommand command) {
  if (const auto connection = std::exchange(connection_, {}).lock()) connection->reply(command);
}

}  // namespace zolvex
