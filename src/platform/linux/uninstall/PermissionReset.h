#pragma once

#include <QObject>

#include <chrono>
#include <functional>
#include <string>

namespace zolvex {

class BusLink;

/// Has the desktop forget what it has allowed or forbidden a program: its entries in the permission store of the
/// desktop portals. A store that is missing has nothing to forget. Main thread.
class PermissionReset final : public QObject {
 public:
  static constexpr std::chrono::milliseconds answerLimit{2'000};

  /// The link must outlive this.
  explicit PermissionReset(BusLink& sessionBus) : sessionBus_(sessionBus) {}

  /// Asks and does not wait.
  void start(const std::string& applicationId);

  /// `done` runs when nothing asked is open any more, now or at the latest after answerLimit; until then the process
  /// should not end, lest the questions stay in it.
  void whenSettled(std::function<void()> done);

 private:
  void settled();

  BusLink& sessionBus_;
  int open_ = 0;
  std::function<void()> done_;
};

}  // namespace zolvex
