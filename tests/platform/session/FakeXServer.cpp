#include "platform/session/FakeXServer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace zolvex::test {

namespace {

// The protocol's fixed sizes, in bytes, and numbers.
constexpr auto greetingSize = 12;
constexpr auto headerSize = 4;
constexpr auto answerSize = 32;
constexpr std::uint8_t queryExtension = 98;
constexpr std::uint8_t forceScreenSaver = 115;
constexpr std::uint8_t dpmsMajor = 130;
constexpr std::uint8_t saverMajor = 131;
constexpr std::uint8_t saverEvent = 90;
constexpr std::uint8_t blankedKind = 0;
constexpr std::uint8_t programKind = 2;

template <class Number>
QByteArray bytes(Number number) {
  return {reinterpret_cast<const char*>(&number), sizeof number};
}

std::uint8_t byteAt(const QByteArray& data, int position) {
  return static_cast<std::uint8_t>(data.at(position));
}

int shortAt(const QByteArray& data, int position) {
  std::uint16_t number = 0;
  std::memcpy(&number, data.constData() + position, sizeof number);
  return number;
}

constexpr int padded(int size) {
  return (size + 3) / 4 * 4;
}

QByteArray zeros(int count) {
  return QByteArray(count, '\0');
}

}  // namespace

FakeXServer::FakeXServer(Abilities abilities) : abilities_(abilities) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  auto* generic = reinterpret_cast<sockaddr*>(&address);
  listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  EXPECT_EQ(bind(listener_, generic, size), 0);
  EXPECT_EQ(listen(listener_, 1), 0);
  EXPECT_EQ(getsockname(listener_, generic, &size), 0);
  constexpr auto portOfDisplay0 = 6000;
  display_ = "127.0.0.1:" + std::to_string(ntohs(address.sin_port) - portOfDisplay0);
  connections_ = std::make_unique<QSocketNotifier>(listener_, QSocketNotifier::Read);
  QObject::connect(connections_.get(), &QSocketNotifier::activated, [this] { accept(); });
}

FakeXServer::~FakeXServer() {
  hangUp();
  connections_.reset();
  close(listener_);
}

void FakeXServer::accept() {
  hangUp();
  client_ = ::accept(listener_, nullptr, nullptr);
  isGreeted_ = false;
  sequence_ = 0;
  received_.clear();
  requests_ = std::make_unique<QSocketNotifier>(client_, QSocketNotifier::Read);
  QObject::connect(requests_.get(), &QSocketNotifier::activated, [this] { readable(); });
}

void FakeXServer::hangUp() {
  requests_.reset();
  if (client_ >= 0) close(client_);
  client_ = -1;
}

void FakeXServer::readable() {
  QByteArray chunk(4096, Qt::Uninitialized);
  const auto size = read(client_, chunk.data(), static_cast<std::size_t>(chunk.size()));
  if (size <= 0) return requests_->setEnabled(false);
  received_ += chunk.left(static_cast<int>(size));
  handleReceived();
}

void FakeXServer::hang(bool isHanging) {
  isHanging_ = isHanging;
  handleReceived();
}

void FakeXServer::handleReceived() {
  if (isHanging_) return;
  if (!isGreeted_) greet();
  while (isGreeted_ && received_.size() >= headerSize) {
    const auto length = shortAt(received_, 2) * 4;
    if (received_.size() < length) return;
    const auto request = received_.left(length);
    received_.remove(0, length);
    ++sequence_;
    handle(request);
  }
}

/// One screen and no visuals.
void FakeXServer::greet() {
  if (received_.size() < greetingSize) return;
  const auto size = greetingSize + padded(shortAt(received_, 6)) + padded(shortAt(received_, 8));
  if (received_.size() < size) return;
  received_.remove(0, size);
  isGreeted_ = true;
  const auto server = bytes<std::uint32_t>(1) + bytes<std::uint32_t>(0x200000) + bytes<std::uint32_t>(0x1fffff) +
                      zeros(4) + zeros(2) + bytes<std::uint16_t>(0xffff) + bytes<std::uint8_t>(1) + zeros(11);
  const auto screen = bytes<std::uint32_t>(0x42) + zeros(36);
  const auto rest = server + screen;
  send(bytes<std::uint8_t>(1) + zeros(1) + bytes<std::uint16_t>(11) + zeros(2) +
       bytes(static_cast<std::uint16_t>(rest.size() / 4)) + rest);
}

void FakeXServer::handle(const QByteArray& request) {
  const auto opcode = byteAt(request, 0);
  if (opcode == queryExtension) return answerExtensionQuestion(request.mid(8, shortAt(request, 4)));
  if (opcode == forceScreenSaver) {
    orders_.push_back(byteAt(request, 1) == 0 ? "end screen saver" : "begin screen saver");
    return setScreenSaver(byteAt(request, 1) != 0, false);
  }
  if (opcode >= dpmsMajor) handleExtension(request);
}

void FakeXServer::answerExtensionQuestion(const QByteArray& name) {
  const auto present = [&](bool is, std::uint8_t major, std::uint8_t event) {
    answer(0, bytes<std::uint8_t>(is ? 1 : 0) + bytes(major) + bytes(event) + zeros(1));
  };
  if (name == "DPMS") return present(abilities_.dpms, dpmsMajor, 0);
  if (name == "MIT-SCREEN-SAVER") return present(abilities_.screenSaver, saverMajor, saverEvent);
  present(false, 0, 0);
}

void FakeXServer::handleExtension(const QByteArray& request) {
  const auto major = byteAt(request, 0);
  const auto minor = byteAt(request, 1);
  if (major == dpmsMajor && minor == 1) return answer(0, bytes<std::uint8_t>(1));  // capable
  if (major == dpmsMajor && minor == 6) {
    orders_.push_back("power level " + std::to_string(shortAt(request, 4)));
    return setPower(shortAt(request, 4));
  }
  if (major == dpmsMajor && minor == 7) {
    ++questions_;
    return answer(0, bytes(static_cast<std::uint16_t>(powerLevel_)) + bytes<std::uint8_t>(1));
  }
  if (major == saverMajor && minor == 0) return answer(0, bytes<std::uint16_t>(1) + bytes<std::uint16_t>(1));
  if (major != saverMajor || minor != 1) return;
  ++questions_;
  answer(isSaverOn_ ? 1 : 0, zeros(16) + bytes(isSaverProgram_ ? programKind : blankedKind));
}

void FakeXServer::answer(std::uint8_t second, const QByteArray& rest) {
  const auto start = bytes<std::uint8_t>(1) + bytes(second) + bytes(sequence_) + zeros(4) + rest;
  send(start + zeros(answerSize - static_cast<int>(start.size())));
}

void FakeXServer::setPower(int level) {
  powerLevel_ = level;
  setScreenSaver(level != 0, isSaverProgram_);
}

void FakeXServer::setScreenSaver(bool isOn, bool isProgram) {
  isSaverProgram_ = isProgram;
  isSaverOn_ = isOn;
  if (abilities_.screenSaver && isGreeted_) announceScreenSaver();
}

void FakeXServer::announceScreenSaver() {
  const auto start = bytes(saverEvent) + bytes<std::uint8_t>(isSaverOn_ ? 1 : 0) + bytes(sequence_);
  send(start + zeros(answerSize - static_cast<int>(start.size())));
}

void FakeXServer::send(const QByteArray& data) {
  const auto sent = ::send(client_, data.constData(), static_cast<std::size_t>(data.size()), MSG_NOSIGNAL);
  EXPECT_EQ(sent, data.size());
}

}  // namespace zolvex::test
