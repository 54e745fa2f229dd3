#include "ui/qt/DisplayProbe.h"

#include <QDir>
#include <QLibraryInfo>
#include <QStringList>

#include <array>
#include <cstdint>
#include <cstring>
#include <future>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <xcb/xcb.h>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

enum class State { missing, silent, answering };

/// A socket that is connected to `path`; -1 when nobody listens there.
int connectTo(const QByteArray& path) {
  sockaddr_un address{};
  if (path.isEmpty() || static_cast<std::size_t>(path.size()) >= sizeof address.sun_path) return -1;
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, path.constData(), static_cast<std::size_t>(path.size()));
  const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (socket < 0 || connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return socket;
  close(socket);
  return -1;
}

/// Asks a compositor to say when it has come so far: wl_display.sync, the eldest request of the protocol.
State askCompositor(int socket) {
  constexpr std::uint32_t display = 1;
  constexpr std::uint32_t sizeAndSync = 12U << 16U;
  constexpr std::uint32_t callback = 2;
  constexpr std::array request{display, sizeAndSync, callback};
  if (send(socket, request.data(), sizeof request, MSG_NOSIGNAL) != sizeof request) return State::missing;
  pollfd answer{socket, POLLIN, 0};
  if (poll(&answer, 1, static_cast<int>(displayProbeLimit.count())) <= 0) return State::silent;
  char first = 0;
  return recv(socket, &first, 1, 0) == 1 ? State::answering : State::missing;
}

State probeWayland() {
  const auto display = qgetenv("WAYLAND_DISPLAY");
  if (display.isEmpty()) return State::missing;
  const int socket = connectTo(display.startsWith('/') ? display : qgetenv("XDG_RUNTIME_DIR") + '/' + display);
  if (socket < 0) return State::missing;
  const auto state = askCompositor(socket);
  close(socket);
  return state;
}

bool connectsToX11(const QByteArray& display) {
  auto* const connection = xcb_connect(display.constData(), nullptr);
  const bool isConnected = xcb_connection_has_error(connection) == 0;
  xcb_disconnect(connection);
  return isConnected;
}

/// xcb waits without a limit, so it does so in a thread, which a server that never answers keeps.
State probeX11() {
  const auto display = qgetenv("DISPLAY");
  if (display.isEmpty()) return State::missing;
  std::packaged_task<bool()> task([display] { return connectsToX11(display); });
  auto isConnected = task.get_future();
  std::thread(std::move(task)).detach();
  if (isConnected.wait_for(displayProbeLimit) != std::future_status::ready) return State::silent;
  return isConnected.get() ? State::answering : State::missing;
}

bool isInstalled(const QString& platformPlugins) {
  const QDir directory(QLibraryInfo::path(QLibraryInfo::PluginsPath) + u"/platforms"_s);
  return !directory.entryList({platformPlugins}).isEmpty();
}

State probe(const QString& platform) {
  if (platform.startsWith("wayland"_L1)) return isInstalled(u"libqwayland*.so"_s) ? probeWayland() : State::missing;
  if (platform == "xcb"_L1) return isInstalled(u"libqxcb.so"_s) ? probeX11() : State::missing;
  return State::answering;  // one without a display
}

}  // namespace

FoundDisplay findDisplay() {
  const auto chosen = qEnvironmentVariable("QT_QPA_PLATFORM");
  FoundDisplay found;
  for (const auto& platform : (chosen.isEmpty() ? u"wayland;xcb"_s : chosen).split(u';', Qt::SkipEmptyParts)) {
    const auto state = probe(platform.section(u':', 0, 0));
    if (state == State::answering) return {platform, false};
    found.isSilent = found.isSilent || state == State::silent;
  }
  return found;
}

}  // namespace zolvex
