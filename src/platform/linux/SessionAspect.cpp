#include "platform/linux/SessionAspect.h"

#include <algorithm>
#include <utility>

namespace zolvex {

SessionAspect::SessionAspect(MainQueue& mainQueue, Tell tell) : mainQueue_(mainQueue), tell_(std::move(tell)) {}

SessionAspect::Source SessionAspect::addSource(std::string name) {
  sources_.emplace_back().name = std::move(name);
  return sources_.size() - 1;
}

void SessionAspect::found(Source source, bool holds) {
  auto& state = sources_[source];
  const auto isFirstLook = !std::exchange(state.wasLookedAt, true);
  const auto saidLast = state.saidLast;
  if (!isFirstLook && holds && saidLast != true) return begin(state);
  note(state, holds);
  if (isFirstLook) holds_ = holds_ || holds;
  // It ended while nobody looked; only who said that it had begun can know.
  if (!holds && saidLast == true && holds_ && !stands()) tell(false, state.name);
}

void SessionAspect::changed(Source source, bool holds) {
  auto& state = sources_[source];
  state.wasLookedAt = true;
  if (holds) return begin(state);
  if (state.saidLast != false) return end(state);
  note(state, holds);
}

void SessionAspect::lost(Source source) {
  auto& state = sources_[source];
  state.wasLookedAt = true;
  state.saysNow.reset();
  if (!endTeller_.empty() && !stands()) tell(false, endTeller_);
}

void SessionAspect::requested(Source source, bool holds) {
  const auto& state = sources_[source];
  if (holds) {
    if (stands()) return;
    isRequested_ = true;
    requestEnd_ = mainQueue_.after(confirmationLimit, [this] { isRequested_ = false; });
    return tell(true, state.name);
  }
  isRequested_ = false;
  if (holds_ && !stands()) tell(false, state.name);
}

void SessionAspect::begin(State& state) {
  const auto stood = holds_ && stands();
  note(state, true);
  isRequested_ = false;
  endTeller_.clear();
  if (!stood) tell(true, state.name);
}

void SessionAspect::end(State& state) {
  note(state, false);
  if (!holds_) return;
  stands() ? await(state) : tell(false, state.name);
}

/// Others say that it still holds. They may be slow, or never tell of an end.
void SessionAspect::await(const State& teller) {
  if (!endTeller_.empty()) return;
  endTeller_ = teller.name;
  objectionEnd_ = mainQueue_.after(objectionLimit, [this] {
    if (!endTeller_.empty()) overrule(endTeller_);
  });
}

void SessionAspect::overrule(const std::string& teller) {
  for (auto& state : sources_) state.isOverruled = state.saysNow == true;
  tell(false, teller);
}

/// Whether anybody's word for it is worth something now.
bool SessionAspect::stands() const {
  return isRequested_ || std::any_of(sources_.begin(), sources_.end(),
                                     [](const State& state) { return state.saysNow == true && !state.isOverruled; });
}

void SessionAspect::tell(bool holds, const std::string& teller) {
  holds_ = holds;
  const auto name = teller;  // may be endTeller_
  endTeller_.clear();
  tell_(holds, name);
}

void SessionAspect::note(State& state, bool holds) {
  state.saysNow = state.saidLast = holds;
  state.isOverruled = false;
}

}  // namespace zolvex
