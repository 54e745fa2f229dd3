#pragma once

#include <functional>
#include <optional>
#include <string>

namespace zolvex {

/// The system's notification service. Answers may come on any thread, late, or never.
class NotificationCenter {
 public:
  enum class AuthorizationStatus { notDetermined, denied, authorized, provisional, ephemeral, unknown };
  using Error = std::optional<std::string>;  ///< A description; none means that it went well.

  virtual ~NotificationCenter() = default;

  virtual void getAuthorizationStatus(std::function<void(AuthorizationStatus)> answer) = 0;

  /// Asks the user for permission to show alerts and play sounds.
  virtual void requestAuthorization(std::function<void(bool granted, const Error& error)> answer) = 0;

  /// Shows a notification at once: a title, no body, the default sound. `identifier` is unique.
  virtual void post(const std::string& identifier, const std::string& title,
                    std::function<void(const Error& error)> answer) = 0;
};

}  // namespace zolvex
