#include "lab/cli/WorldControl.h"

#include "lab/cli/ControlSocket.h"
#include "lab/cli/RunningWorlds.h"

#include <QByteArray>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace zolvex::lab {

using namespace Qt::StringLiterals;

namespace {

int fail(const QString& what) {
  std::fprintf(stderr, "zolvex-lab: %s\n", qPrintable(what));
  return EXIT_FAILURE;
}

/// A connection to the world of that process, or -1. The socket is in the sandbox, whose files are reached through the
/// process.
int connectTo(const QString& world) {
  const auto path = "/proc/" + world.toStdString() + "/root" + ControlSocket::path();
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= std::size(address.sun_path)) return -1;
  path.copy(std::data(address.sun_path), path.size());
  const auto descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return descriptor;
  const auto reason = errno;
  close(descriptor);
  errno = reason;
  return -1;
}

/// Until the world closes the connection, which it does when the command has ended.
QByteArray readToEnd(int descriptor) {
  QByteArray text;
  std::array<char, 512> buffer{};
  for (ssize_t count = 0; (count = read(descriptor, buffer.data(), buffer.size())) > 0;)
    text.append(buffer.data(), static_cast<qsizetype>(count));
  return text;
}

int tell(const QByteArray& answer) {
  const auto text = QString::fromUtf8(answer.mid(answer.indexOf('\n') + 1));
  if (answer.startsWith(ControlSocket::refusedWord)) return fail(text);
  if (!answer.startsWith(ControlSocket::doneWord)) return fail(u"the world ended before it was done"_s);
  std::printf("%s\n", qPrintable(text));
  return EXIT_SUCCESS;
}

}  // namespace

int controlWorld(const Options& options) {
  const auto worlds = options.world.isEmpty() ? runningWorlds() : QStringList{options.world};
  if (worlds.isEmpty()) return fail(u"no world is running; \"zolvex-lab run\" makes one"_s);
  if (worlds.size() > 1)
    return fail(u"there are several worlds, choose one with --world: %1"_s.arg(worlds.join(u", "_s)));
  const auto descriptor = connectTo(worlds.first());
  if (descriptor < 0)
    return fail(u"the world of process %1 takes no commands: %2"_s.arg(worlds.first(),
                                                                       QString::fromLocal8Bit(std::strerror(errno))));
  const auto line = u"%1 %2\n"_s.arg(options.act, options.computer).toUtf8();
  [[maybe_unused]] const auto sent =
      send(descriptor, line.constData(), static_cast<std::size_t>(line.size()), MSG_NOSIGNAL);
  const auto answer = readToEnd(descriptor);
  close(descriptor);
  return tell(answer);
}

}  // namespace zolvex::lab
