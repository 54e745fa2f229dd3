#pragma once

#include "control/zolvexctl/ZolvexClient.h"

#include <QVariantMap>

#include <chrono>
#include <functional>
#include <optional>
#include <string>

namespace zolvex::control {

/// Waits for the end of a flow that is about to be started: made before the start, so that nothing is missed, it
/// hands on every status text, and tells when no flow runs any more. What looks like an end may be the step to the
/// second try, so the state is read again before it is believed.
class FlowWait {
 public:
  enum class End { reached, timedOut, failed };

  FlowWait(ZolvexClient& client, std::function<void(const QString& text)> progress);

  /// After the start was accepted.
  End wait(std::chrono::milliseconds limit);

  /// The state at the end, and why it could not be read.
  const QVariantMap& state() const { return state_; }
  const ZolvexClient::Failure& failure() const { return failure_; }

 private:
  bool readState();

  ZolvexClient& client_;
  bool mayHaveEnded_ = false;
  bool isGone_ = false;
  QVariantMap state_;
  ZolvexClient::Failure failure_;
  Subscription assignments_;
  Subscription end_;
};

}  // namespace zolvex::control
