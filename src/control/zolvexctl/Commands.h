#pragma once

#include "control/zolvexctl/CommandLine.h"
#include "control/zolvexctl/ZolvexClient.h"

#include <string>

namespace zolvex::control {

/// Carries out one command: calls the application, prints, and returns the exit status. Needs a QCoreApplication.
class Commands {
 public:
  int run(const Invocation& invocation);

 private:
  int status();
  int show();
  int flow();
  int cancel();
  int devices();
  int manage();
  int peers();
  int addPeer();
  int removePeer();
  int transport();
  int settings();
  int setting(const QVariantMap& all);
  int changeSetting(const QVariantMap& all);
  int watch();

  int waitForFlow();
  int outcome(const QVariantMap& state) const;
  bool isGoalReached(const QString& ownershipState) const;
  ZolvexClient::Result startFlow();
  int simple(const QString& method, const QVariantList& arguments, const std::string& text,
             std::chrono::milliseconds limit = ZolvexClient::callLimit);
  std::variant<QVariantMap, ZolvexClient::Failure> allSettings();
  int fail(const ZolvexClient::Failure& failure) const;

  Invocation invocation_;
  ZolvexClient client_;
};

}  // namespace zolvex::control
