#pragma once

#include <functional>
#include <map>
#include <memory>
#include <utility>

namespace zolvex {

/// Keeps an observer registered; destroying it ends the observation. May outlive what is observed.
class Subscription {
 public:
  Subscription() = default;
  explicit Subscription(std::function<void()> end) : end_(std::move(end)) {}
  Subscription(Subscription&& other) noexcept : end_(std::exchange(other.end_, nullptr)) {}
  Subscription& operator=(Subscription&& other) noexcept {
    if (this != &other) {
      cancel();
      end_ = std::exchange(other.end_, nullptr);
    }
    return *this;
  }
  ~Subscription() { cancel(); }

  void cancel() {
    if (auto end = std::exchange(end_, nullptr)) end();
  }

 private:
  std::function<void()> end_;
};

/// A list of observers, told in the order in which they registered. Observers may come and go while they are being
/// told: one that left is not told any more, one that came is told from the next time on. One thread.
template <class... Args>
class Signal {
 public:
  using Observer = std::function<void(Args...)>;

  [[nodiscard]] Subscription observe(Observer observer) {
    const auto key = state_->nextKey++;
    state_->observers.emplace(key, std::make_shared<Observer>(std::move(observer)));
    return Subscription([state = std::weak_ptr(state_), key] {
      if (auto s = state.lock()) s->observers.erase(key);
    });
  }

  void emit(Args... args) const {
    const auto state = state_;
    const auto end = state->nextKey;
    for (auto next = state->observers.begin(); next != state->observers.end() && next->first < end;) {
      const auto key = next->first;
      const auto observer = next->second;
      (*observer)(args...);
      next = state->observers.upper_bound(key);
    }
  }

 private:
  struct State {
    std::map<unsigned long, std::shared_ptr<Observer>> observers;
    unsigned long nextKey = 0;
  };
  std::shared_ptr<State> state_ = std::make_shared<State>();
};

/// A value that tells its observers of every assignment, also of one that changes nothing. They are handed the new
/// value just before it takes effect. One thread, in this program the main thread.
template <class T>
class Published {
 public:
  Published() = default;
  explicit Published(T initial) : value_(std::move(initial)) {}
  Published(const Published&) = delete;

  Published& operator=(T value) {
    willChange_.emit(value);
    value_ = std::move(value);
    return *this;
  }

  const T& value() const { return value_; }
  const T& operator*() const { return value_; }
  const T* operator->() const { return &value_; }

  [[nodiscard]] Subscription observe(std::function<void(const T&)> observer) {
    return willChange_.observe(std::move(observer));
  }

 private:
  T value_{};
  Signal<const T&> willChange_;
};

}  // namespace zolvex
