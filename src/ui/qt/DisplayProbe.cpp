#include "ui/qt/DisplayProbe.h"

#include <QDir>
#include <QLibraryInfo>

#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <xcb/xcb.h>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

bool isSocketOpen(const QByteArray& path) {
  sockaddr_un address{};
  if (path.isEmpty() || static_cast<std::size_t>(path.size()) >= sizeof address.sun_path) return false;
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, path.constData(), static_cast<std::size_t>(path.size()));
  const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (socket < 0) return false;
  const bool isOpen = connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  close(socket);
  return isOpen;
}

bool hasWayland() {
  const auto display = qgetenv("WAYLAND_DISPLAY");
  if (display.isEmpty()) return false;
  return isSocketOpen(display.startsWith('/') ? display : qgetenv("XDG_RUNTIME_DIR") + '/' + display);
}

bool hasX11() {
  if (qEnvironmentVariableIsEmpty("DISPLAY")) return false;
  auto* const connection = xcb_connect(nullptr, nullptr);
  const bool isConnected = xcb_connection_has_error(connection) == 0;
  xcb_disconnect(connection);
  return isConnected;
}

bool isInstalled(const QString& platformPlugins) {
  const QDir directory(QLibraryInfo::path(QLibraryInfo::PluginsPath) + u"/platforms"_s);
  return !directory.entryList({platformPlugins}).isEmpty();
}

}  // namespace

QString usablePlatform() {
  if (!qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) return qEnvironmentVariable("QT_QPA_PLATFORM");
  if (hasWayland() && isInstalled(u"libqwayland*.so"_s)) return u"wayland"_s;
  if (hasX11() && isInstalled(u"libqxcb.so"_s)) return u"xcb"_s;
  return {};
}

}  // namespace zolvex
