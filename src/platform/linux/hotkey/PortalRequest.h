#pragma once

#include "core/Lifetime.h"
#include "core/MainQueue.h"
#include "core/Published.h"

#include <QDBusMessage>
#include <QString>
#include <QVariantList>
#include <QVariantMap>

#include <functional>
#include <string>

namespace zolvex {

class BusService;

namespace portal {

inline constexpr auto service = "org.freedesktop.portal.Desktop";
inline constexpr auto path = "/org/freedesktop/portal/desktop";

}  // namespace portal

/// One question to the desktop portal, which may ask the user: a call, and the answer as a signal of an object that
/// stands for the question. Takes the question back when its limit is over, or when it is destroyed before the answer.
/// The portal outlives this. Main thread.
class PortalRequest {
 public:
  /// The first two are the portal's, the others ours.
  enum Code { success = 0, cancelledByUser = 1, endedOtherwise = 2, callFailed = 3, noAnswer = 4 };

  struct Response {
    int code = success;
    QVariantMap results = {};
    std::string error = {};  ///< Of a call that failed, for people.
  };
  struct Question {
    QString interface, method;
    QVariantList arguments;  ///< Without the options, which every such method has last.
    QVariantMap options;
    QString token;     ///< Tells the questions of this process apart.
    Seconds limit{0};  ///< Of the answer.
  };
  using Answer = std::function<void(const Response&)>;

  /// `sender` is our name on the bus. `answer` comes once, not before the constructor has returned, and may destroy
  /// this.
  PortalRequest(MainQueue& mainQueue, BusService& portal, const QString& sender, Question question, Answer answer);
  ~PortalRequest();
  PortalRequest(const PortalRequest&) = delete;

 private:
  void called(const QDBusMessage& reply);
  void responded(const QDBusMessage& signal);
  void end(const Response& response);
  void takeBack();

  BusService& portal_;
  QString handle_;
  Answer answer_;  // none once it is given
  Subscription response_;
  WorkItem limit_;
  Lifetime lifetime_;
};

}  // namespace zolvex
