#include "lab/cli/ControlSocket.h"

#include "lab/world/Sandbox.h"

#include <QPointer>

#include <array>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace zolvex::lab {

namespace {

constexpr int waitingClients = 8;
constexpr qsizetype longestLine = 512;

}  // namespace

struct ControlSocket::Client {
  Client(int accepted, int count) : descriptor(accepted), number(count), notifier(accepted, QSocketNotifier::Read) {}
  ~Client() {
    notifier.setEnabled(false);
    close(descriptor);
  }
  Client(const Client&) = delete;

  int descriptor;
  int number;  // descriptors are used again, this is not
  QSocketNotifier notifier;
  QByteArray line = {};
};

ControlSocket::ControlSocket(Commands& commands) : commands_(commands) {}

ControlSocket::~ControlSocket() {
  notifier_.reset();
  clients_.clear();
  if (descriptor_ < 0) return;
  close(descriptor_);
  unlink(path().c_str());
}

std::string ControlSocket::path() {
  return std::string(Sandbox::directory) + "/control";
}

bool ControlSocket::listen() {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path().copy(std::data(address.sun_path), std::size(address.sun_path) - 1);
  descriptor_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (bind(descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return false;
  if (::listen(descriptor_, waitingClients) != 0) return false;
  notifier_ = std::make_unique<QSocketNotifier>(descriptor_, QSocketNotifier::Read);
  connect(notifier_.get(), &QSocketNotifier::activated, this, &ControlSocket::accept);
  return true;
}

void ControlSocket::accept() {
  const auto accepted = accept4(descriptor_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
  if (accepted < 0) return;
  const auto& client = clients_[accepted] = std::make_unique<Client>(accepted, ++lastNumber_);
  // Queued, because the notifier must not be destroyed by its own signal.
  connect(
      &client->notifier, &QSocketNotifier::activated, this, [this, accepted] { read(accepted); }, Qt::QueuedConnection);
}

void ControlSocket::read(int descriptor) {
  const auto found = clients_.find(descriptor);
  if (found == clients_.end()) return;
  auto& client = *found->second;
  std::array<char, longestLine> buffer{};
  const auto count = ::read(descriptor, buffer.data(), buffer.size());
  if (count < 0) return;
  client.line.append(buffer.data(), static_cast<qsizetype>(count));
  const auto end = client.line.indexOf('\n');
  if (end < 0 && count > 0 && client.line.size() < longestLine) return;
  if (end < 0) return static_cast<void>(clients_.erase(found));
  client.notifier.setEnabled(false);  // one command each; what else it sends is not read
  commands_.obey(QString::fromUtf8(client.line.first(end)).trimmed(),
                 [self = QPointer(this), descriptor, number = client.number](const ActOutcome& outcome) {
                   if (self) self->answer(descriptor, number, outcome);
                 });
}

void ControlSocket::answer(int descriptor, int number, const ActOutcome& outcome) {
  const auto found = clients_.find(descriptor);
  if (found == clients_.end() || found->second->number != number) return;
  const auto text = (outcome.isDone ? doneWord : refusedWord) + outcome.text.toUtf8();
  [[maybe_unused]] const auto sent =
      send(descriptor, text.constData(), static_cast<std::size_t>(text.size()), MSG_NOSIGNAL);
  clients_.erase(found);
}

}  // namespace zolvex::lab
