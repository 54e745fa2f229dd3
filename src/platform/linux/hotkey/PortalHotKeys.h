#pragma once

#include "platform/linux/BusService.h"
#include "platform/linux/hotkey/PortalRequest.h"
#include "ui/HotKeys.h"

#include <QString>

#include <memory>

namespace zolvex {

/// Hot keys of a Wayland desktop, which only its portal org.freedesktop.portal.GlobalShortcuts gives: it makes us known
/// to the portal, opens a session, and asks for the key; the desktop may ask the user, who may take any time or choose
/// another key. A portal that is missing, restarts or does not answer is waited for. One that has refused is not asked
/// again, because that would ask the user again and again; a restart of it or unregisterHotKey() changes that.
/// Owned by the application. Main thread; nothing blocks.
class PortalHotKeys final : public HotKeys {
 public:
  static constexpr Seconds sessionLimit{30.0};
  static constexpr Seconds userLimit{600.0};  ///< The user may be asked meanwhile.
  static constexpr Seconds retryInterval{60.0};

  /// Before the link is started, which must outlive this.
  PortalHotKeys(MainQueue& mainQueue, BusLink& sessionBus);

  Status installHandler(Handler handler) override;
  void removeHandler() override;
  void registerHotKey(const HotKey& hotKey, Answer answer) override;
  void unregisterHotKey() override;

 private:
  void wantPortal();
  void portalGone();

  // In the order of the steps.
  void begin();
  void introduce();
  void createSession();
  void sessionCreated(const PortalRequest::Response& response);
  void closeLateSession(const QDBusMessage& response);
  void bind();
  void bound(const PortalRequest::Response& response);

  void ask(const QString& method, const QVariantList& arguments, const QVariantMap& options, Seconds limit,
           void (PortalHotKeys::*answered)(const PortalRequest::Response&));
  void refused(const PortalRequest::Response& response);
  void silent();
  void activated(const QDBusMessage& signal) const;
  void sessionClosed();
  void closeSession();
  void close(const QString& session);

  MainQueue& mainQueue_;
  BusLink& sessionBus_;
  BusService portal_;
  HotKey hotKey_;
  Handler handler_;
  Answer answer_;              // none once it is given
  bool isStartWanted_ = true;  // of the portal, once on each bus
  bool isIntroduced_ = false;  // to this instance of the portal
  bool isIntroducing_ = false;
  bool isRefused_ = false;
  bool isRegistered_ = false;
  bool isResting_ = false;  // until the next try
  unsigned questions_ = 0;
  QString sessionToken_;  // the end of the path of the session that was asked for last
  QString session_;       // its object; empty without one
  std::unique_ptr<PortalRequest> request_;
  Subscription appearance_, absence_, busLoss_, activation_, closing_, responses_;
  WorkItem retry_;
  Lifetime lifetime_;
};

}  // namespace zolvex
