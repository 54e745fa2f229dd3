#pragma once

#include "core/Published.h"

#include <functional>
#include <string>

namespace zolvex {

/// Tells the hot keys of a program apart.
struct HotKeyIdentifier {
  std::string signature;  ///< Four characters.
  unsigned number = 0;

  bool operator==(const HotKeyIdentifier&) const = default;
};

/// A key and what is held down with it.
struct HotKey {
  HotKeyIdentifier identifier;
  char key = 0;  ///< A lower-case letter of the Latin alphabet.
  bool withControl = false;
  bool withAlt = false;
};

/// The desktop's hot keys, which work in whatever program has the keyboard. One at a time is registered here.
/// Main thread; nothing blocks.
class HotKeys {
 public:
  /// 0, or a number for the log that says why not.
  using Status = int;
  static constexpr Status noError = 0;

  struct Outcome {
    Status status = noError;
    bool isHeldByAnother = false;  ///< By another program.
  };
  using Handler = std::function<void(const HotKeyIdentifier& pressed)>;
  using Answer = std::function<void(const Outcome&)>;

  virtual ~HotKeys() = default;

  /// From now on `handler` is told of each press; until removeHandler().
  virtual Status installHandler(Handler handler) = 0;
  virtual void removeHandler() = 0;

  /// `answer` comes once, now or later, when the desktop has decided; it may take as long as the user does, or as the
  /// part of the desktop that decides is missing. Never after unregisterHotKey().
  virtual void registerHotKey(const HotKey& hotKey, Answer answer) = 0;

  /// Gives up what is registered or has been asked for, and forgets what the desktop decided.
  virtual void unregisterHotKey() = 0;

  /// What was registered is no longer. It may be registered again at once; the answer waits until that is possible.
  Signal<> lost;
};

}  // namespace zolvex
