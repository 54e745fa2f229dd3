#pragma once

#include <QDBusMessage>
#include <QString>
#include <QVariantList>

#include <functional>
#include <memory>
#include <string>

namespace zolvex {

class AvahiDaemon;

/// An object that avahi-daemon makes for us: an entry group, a service browser, a service resolver. It is asked for at
/// construction and freed at destruction, whichever of that the daemon has got to by then. The daemon may signal
/// something about the object before it has told its path; that is not lost.
/// When the daemon ends, its objects are gone with it: their owners let go of them then. Main thread.
class AvahiObject {
 public:
  struct Events {
    std::function<void()> made;                              ///< It exists now. May be empty.
    std::function<void(const QDBusMessage& signal)> signal;  ///< It has signalled something.
    std::function<void(const QString& error)> failed;        ///< It cannot be made.
  };

  /// `kind` is the name of its interface after "org.freedesktop.Avahi.", for example "EntryGroup". No event comes
  /// before the constructor has returned.
  AvahiObject(AvahiDaemon& daemon, const QString& kind, const QVariantList& arguments, Events events);
  ~AvahiObject();
  AvahiObject(const AvahiObject&) = delete;
  AvahiObject& operator=(const AvahiObject&) = delete;

  /// Calls a method of it; once it is made. `answer` is not called when this is gone by then.
  void call(const QString& method, const QVariantList& arguments, std::function<void(const QDBusMessage&)> answer);

 private:
  friend class AvahiDaemon;

  AvahiDaemon& daemon_;
  const QString interface_;
  const Events events_;
  QString path_;  // empty until it is made
  const std::shared_ptr<AvahiObject*> self_ = std::make_shared<AvahiObject*>(this);
};

/// What the calls have in common.
namespace avahi {

inline constexpr int anyInterface = -1;  // AVAHI_IF_UNSPEC
inline constexpr int anyProtocol = -1;   // AVAHI_PROTO_UNSPEC
inline constexpr int ipv4 = 0;           // AVAHI_PROTO_INET
inline constexpr int ipv6 = 1;           // AVAHI_PROTO_INET6
inline constexpr uint noFlags = 0;

/// "_zolvex._tcp." and "local." as the daemon wants them.
QString withoutDot(const std::string& name);

/// An error reply in words.
QString errorText(const QDBusMessage& error);

}  // namespace avahi

}  // namespace zolvex
