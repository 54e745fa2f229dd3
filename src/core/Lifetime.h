#pragma once

#include <memory>
#include <utility>

namespace zolvex {

/// Ties late callbacks to the life of an object. A member `Lifetime lifetime_;` (declared last, so that it dies
/// first) wraps each callback handed out: once the object is gone the callback does nothing.
/// The wrapped callback must run on the thread that destroys the object.
class Lifetime {
 public:
  Lifetime() = default;
  Lifetime(const Lifetime&) = delete;
  Lifetime& operator=(const Lifetime&) = delete;

  /// `callback`, made harmless after the owner's end. Its result, if any, is discarded.
  template <class Callback>
  auto guard(Callback callback) const {
    return [alive = std::weak_ptr(token_), callback = std::move(callback)]<class... Args>(Args&&... args) mutable {
      if (!alive.expired()) callback(std::forward<Args>(args)...);
    };
  }

 private:
  std::shared_ptr<char> token_ = std::make_shared<char>();
};

}  // namespace zolvex
