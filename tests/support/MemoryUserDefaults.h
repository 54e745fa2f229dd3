#pragma once

#include "core/UserDefaults.h"

#include <map>
#include <string>

namespace zolvex::test {

/// Settings that live as long as the test.
class MemoryUserDefaults final : public UserDefaults {
 public:
  std::optional<std::string> problem;  ///< Why nothing is persisted.
  std::optional<std::string> persistenceProblem() const override { return problem; }

  int notedEventually = 0;  ///< So many changes might be persisted later.

  std::optional<DefaultsValue> stored(std::string_view key) const override {
    const auto found = values_.find(key);
    return found == values_.end() ? std::nullopt : std::optional(found->second);
  }
  void set(std::string_view key, DefaultsValue value) override {
    values_.insert_or_assign(std::string(key), std::move(value));
    changed.emit();
  }
  void noteEventually(std::string_view key, DefaultsValue value) override {
    ++notedEventually;
    set(key, std::move(value));
  }
  void remove(std::string_view key) override {
    if (const auto found = values_.find(key); found != values_.end()) {
      values_.erase(found);
      changed.emit();
    }
  }
  std::optional<std::string> removePersistentDomain() override {
    values_.clear();
    changed.emit();
    return problem;
  }

 private:
  std::map<std::string, DefaultsValue, std::less<>> values_;
};

}  // namespace zolvex::test
