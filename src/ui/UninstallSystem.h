#pragma once

#include <functional>
#include <optional>
#include <string>

namespace zolvex {

/// What uninstalling needs of the system besides launch at login and the settings. Main thread.
class UninstallSystem {
 public:
  /// Why something could not be done, for people.
  using Failure = std::optional<std::string>;

  /// What has become of the application's files.
  struct Recycled {
    Failure failure = {};
    std::string leftToDo = {};  ///< What the user has to do where they may not be moved; empty where nothing is left.
  };

  virtual ~UninstallSystem() = default;

  /// The application's name towards the system; none when it has none.
  virtual std::optional<std::string> bundleIdentifier() const = 0;

  /// Removes what the application named `identifier` keeps in the home directory besides its settings.
  virtual Failure removeState(const std::string& identifier) = 0;

  /// Begins to reset every permission that was granted to it. Nobody waits for the outcome.
  virtual void resetPermissions(const std::string& identifier) = 0;

  /// Moves the application to the trash. `done` comes once, now or later, while the application can still quit.
  virtual void recycle(std::function<void(const Recycled&)> done) = 0;

  /// Ends this process in an orderly way.
  virtual void terminate() = 0;
};

}  // namespace zolvex
