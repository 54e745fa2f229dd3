#pragma once

#include "bluetooth/ProcessLauncher.h"
#include "support/VirtualTime.h"

#include <limits>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zolvex::test {

/// Worker processes that exist only on virtual time. A test says how the workers of an address (or, for the listing,
/// of no address) behave; what is not said succeeds at once and in silence.
class FakeWorkers final : public ProcessLauncher {
 public:
  struct Behaviour {
    int exitStatus = 0;
    std::string output = {};
    std::string error = {};
    Seconds readsAfter{0};  ///< When it has taken its input.
    Seconds duration{0};    ///< Of the run, when nobody stops it.
    bool hangs = false;
    bool ignoresTerminate = false;
    bool ignoresKill = false;
  };

  explicit FakeWorkers(VirtualTime& time) : time_(time) {}

  /// Of every later worker of `address` for `command`.
  void set(const std::string& command, const std::string& address, Behaviour behaviour) {
    behaviours_[{command, address}] = std::move(behaviour);
  }

  /// From now on no process can be started.
  void failToStart(std::string description) { startError_ = std::move(description); }

  /// What happened, for example "start connect", "input AA", "terminate", "kill", with the time in seconds in front.
  std::vector<std::string> events;

  /// "connect AA" for each worker that was given an address, in order.
  std::vector<std::string> runs;

  std::variant<std::unique_ptr<ChildProcess>, Error> launch(const std::string& executable,
                                                            std::span<const std::string> arguments) override;

  /// The command line of the last worker, executable first.
  std::vector<std::string> lastCommandLine;

 private:
  class Child;
  void note(const std::string& what);

  VirtualTime& time_;
  std::map<std::pair<std::string, std::string>, Behaviour> behaviours_;
  std::optional<std::string> startError_;
};

}  // namespace zolvex::test
