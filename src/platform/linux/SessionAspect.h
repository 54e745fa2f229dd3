#pragma once

#include "core/MainQueue.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace zolvex {

/// One thing about the session that holds or does not, such as "the screen is locked", folded from what several sources
/// say of it, so that each beginning and each end is told once.
///
/// It begins when any source says so, and ends when none says so any more. What a source is found to say at its first
/// look is how things were before we came, no event. A source that goes away says nothing more: that alone ends
/// nothing, but what it said no longer stands, so that the next beginning is told again. A source that keeps saying
/// "still so" after another has told of the end is believed for a while, because sources lag, and then no longer.
/// A request to begin (somebody asks for the lock) counts as a beginning; within a moment a source confirms it or it
/// no longer stands.
/// Owned by LinuxSessionEvents; the sources are adapters. Main thread.
class SessionAspect {
 public:
  using Source = std::size_t;
  /// `teller` is the name of the source whose word made the difference.
  using Tell = std::function<void(bool holds, const std::string& teller)>;

  /// How long a source that says "still so" is believed against another that has told of the end.
  static constexpr Seconds objectionLimit{5.0};
  /// How long what was requested may take to be confirmed by a source.
  static constexpr Seconds confirmationLimit{10.0};

  SessionAspect(MainQueue& mainQueue, Tell tell);
  SessionAspect(const SessionAspect&) = delete;

  /// `name` stands for the source in log lines.
  [[nodiscard]] Source addSource(std::string name);

  /// What the source says when it is asked, as it is each time it has come.
  void found(Source source, bool holds);

  /// What the source says of its own accord.
  void changed(Source source, bool holds);

  /// The source is not there, or does not say.
  void lost(Source source);

  /// Somebody wants it to begin or end; `source` passes that on, which is not to say that it happened.
  void requested(Source source, bool holds);

 private:
  struct State {
    std::string name;
    bool wasLookedAt = false;
    std::optional<bool> saysNow;   // nothing while it is lost
    std::optional<bool> saidLast;  // survives a loss
    bool isOverruled = false;      // its "still so" is believed no longer
  };

  void begin(State& state);
  void end(State& state);
  void await(const State& teller);
  void overrule(const std::string& teller);
  bool stands() const;
  void tell(bool holds, const std::string& teller);
  static void note(State& state, bool holds);

  MainQueue& mainQueue_;
  const Tell tell_;
  std::vector<State> sources_;
  bool holds_ = false;  // as told, or as found at the first look
  bool isRequested_ = false;
  WorkItem requestEnd_;
  std::string endTeller_;  // who told of an end that others object to; empty when nobody does
  WorkItem objectionEnd_;
};

}  // namespace zolvex
