#pragma once

#include "core/Published.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace zolvex {

using StringArray = std::vector<std::string>;
using StringDictionary = std::map<std::string, std::string>;

/// One stored setting. std::monostate stands for a stored value of a type that no setting has, for example an array
/// with a number in it.
using DefaultsValue = std::variant<std::monostate, bool, double, std::string, StringArray, StringDictionary>;

/// The settings of the application: a persistent table from key to value, over a table of registered defaults that is
/// not persisted. Read at every use, never cached, so that a change takes effect at the next decision. A stored value
/// of the wrong type reads like an absent one. Main thread.
class UserDefaults {
 public:
  virtual ~UserDefaults() = default;

  /// The persisted value; none when the key is absent. Registered defaults are not looked at.
  virtual std::optional<DefaultsValue> stored(std::string_view key) const = 0;

  /// Persists `value`; observers of `changed` are told.
  virtual void set(std::string_view key, DefaultsValue value) = 0;

  /// Persists what the program notes down on its own account, as set() does. Only where nothing of what is persisted
  /// can be read, so that somebody has to mend it, a note alone does not replace it: it counts in this run.
  virtual void note(std::string_view key, DefaultsValue value) { set(key, std::move(value)); }

  /// As note(), of what changes all the time. What is persisted may stay behind for a while; it follows with the next
  /// change of another kind, and at the end of the program at the latest.
  virtual void noteEventually(std::string_view key, DefaultsValue value) { note(key, std::move(value)); }

  /// Removes the persisted value, if there is one; observers of `changed` are told.
  virtual void remove(std::string_view key) = 0;

  /// Removes all that is persisted and where it is kept; observers of `changed` are told. What is set afterwards counts
  /// until the process ends. Why something is still there, for people; none when all is gone.
  virtual std::optional<std::string> removePersistentDomain() = 0;

  /// Why the latest changes are in effect but not persisted, for people; none when all is well.
  virtual std::optional<std::string> persistenceProblem() const { return std::nullopt; }

  /// Adds defaults for keys that are not persisted.
  void registerDefaults(std::map<std::string, DefaultsValue, std::less<>> defaults);

  /// The value of `key`, if it is stored or registered with this type.
  std::optional<bool> boolean(std::string_view key) const { return read<bool>(key); }
  std::optional<double> number(std::string_view key) const { return read<double>(key); }
  std::optional<std::string> string(std::string_view key) const { return read<std::string>(key); }
  std::optional<StringArray> stringArray(std::string_view key) const { return read<StringArray>(key); }
  std::optional<StringDictionary> stringDictionary(std::string_view key) const { return read<StringDictionary>(key); }

  /// Told after any change of a persisted value, by this process or another.
  Signal<> changed;

 private:
  template <class T>
  std::optional<T> read(std::string_view key) const {
    if (const auto value = stored(key))
      if (const auto* typed = std::get_if<T>(&*value)) return *typed;
    if (const auto found = registered_.find(key); found != registered_.end())
      if (const auto* typed = std::get_if<T>(&found->second)) return *typed;
    return std::nullopt;
  }

  std::map<std::string, DefaultsValue, std::less<>> registered_;
};

}  // namespace zolvex
