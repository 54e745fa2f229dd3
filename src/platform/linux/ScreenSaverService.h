#pragma once

#include "core/Lifetime.h"
#include "core/Published.h"
#include "platform/linux/SessionAspect.h"

#include <QDBusMessage>
#include <QString>

namespace zolvex {

class BusService;

/// A screen saver of the session bus that tells whether it is active, which on today's desktops is to be locked:
/// org.freedesktop.ScreenSaver and org.gnome.ScreenSaver have the same members.
/// Owned by LinuxSession, one for each service. Main thread.
class ScreenSaverService {
 public:
  /// `service` and `locked` must outlive this. `interface` is also the name that log lines have for the source.
  ScreenSaverService(BusService& service, QString path, QString interface, SessionAspect& locked);
  ScreenSaverService(const ScreenSaverService&) = delete;

 private:
  void ask();
  void answered(const QDBusMessage& reply);

  BusService& service_;
  const QString path_;
  const QString interface_;
  SessionAspect& locked_;
  const SessionAspect::Source source_;
  bool isRefusalLogged_ = false;  // until it answers: a silent one is asked again every minute
  Subscription appearance_;
  Subscription absence_;
  Subscription changes_;
  Lifetime lifetime_;
};

}  // namespace zolvex
