#include "peer/bonjour/ListenerFixture.h"

#include <asio/post.hpp>

#include <future>
#include <thread>
#include <utility>

namespace zolvex::test {

ListenerFixture::~ListenerFixture() {
  shutDown();
  mainQueue_.run([this] { channels_.clear(); });  // also lets what was handed over come to its end
}

void ListenerFixture::start(ListenerLimits limits, bool answersAtOnce) {
  std::promise<std::uint16_t> ready;
  TcpListener::Events events;
  events.ready = [&ready](std::uint16_t port) { ready.set_value(port); };
  events.failed = [] { ADD_FAILURE() << "the listener failed"; };
  events.received = [this, answersAtOnce](const std::string& text, std::shared_ptr<ReplyChannel> channel) {
    EXPECT_TRUE(mainQueue_.isCurrent());
    const std::lock_guard lock(mutex_);
    received_.push_back(text);
    if (answersAtOnce)
      channel->reply(DeviceCommand::operationSuccess);
    else
      channels_.push_back(std::move(channel));
  };
  listener_ = std::make_shared<TcpListener>(*network_, mainQueue_, std::move(events), limits);
  ASSERT_EQ(listener_->open(), std::nullopt);
  listener_->start();
  auto port = ready.get_future();
  ASSERT_EQ(port.wait_for(patience), std::future_status::ready);
  port_ = port.get();
}

void ListenerFixture::cancelListener() {
  if (const auto listener = std::exchange(listener_, nullptr)) listener->cancel();
}

void ListenerFixture::shutDown() {
  cancelListener();
  mainQueue_.run([this] { network_.reset(); });  // replies come from there, and need the network to their end
}

std::promise<void> ListenerFixture::holdUpNetwork() {
  std::promise<void> release;
  std::promise<void> held;
  auto isHeld = held.get_future();
  asio::post(network_->publisherQueue(), [released = release.get_future().share(), held = std::move(held)]() mutable {
    held.set_value();
    released.wait();
  });
  isHeld.wait();
  return release;
}

std::vector<std::string> ListenerFixture::received() {
  const std::lock_guard lock(mutex_);
  return received_;
}

bool ListenerFixture::waitForCommands(std::size_t count) {
  return waitUntil([&] { return received().size() >= count; });
}

void ListenerFixture::answer(DeviceCommand command, int times) {
  mainQueue_.run([&] {
    const auto channel = channels_.front();
    channels_.pop_front();
    for (int i = 0; i < times; ++i) channel->reply(command);
  });
}

void ListenerFixture::dropChannel() {
  mainQueue_.run([&] { channels_.pop_front(); });
}

bool ListenerFixture::waitForLog(const std::string& line) {
  return waitUntil([&] { return log.contains(line); });
}

bool ListenerFixture::waitUntil(const std::function<bool()>& condition) {
  const auto end = std::chrono::steady_clock::now() + patience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::yield();
  }
  return true;
}

}  // namespace zolvex::test
