#pragma once

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QString>

#include <string>

/// What all calls to avahi-daemon have in common.
namespace zolvex::avahi {

inline constexpr int anyInterface = -1;  // AVAHI_IF_UNSPEC
inline constexpr int anyProtocol = -1;   // AVAHI_PROTO_UNSPEC
inline constexpr int ipv4 = 0;           // AVAHI_PROTO_INET
inline constexpr int ipv6 = 1;           // AVAHI_PROTO_INET6

/// The object path that a reply carries; empty for an error.
inline QString pathIn(const QDBusMessage& reply) {
  return reply.arguments().value(0).value<QDBusObjectPath>().path();
}

/// "_zolvex._tcp." and "local." as the daemon wants them.
inline QString withoutDot(const std::string& name) {
  auto text = QString::fromStdString(name);
  if (text.endsWith(u'.')) text.chop(1);
  return text;
}

}  // namespace zolvex::avahi
