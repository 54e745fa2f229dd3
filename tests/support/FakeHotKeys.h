#pragma once

#include "ui/HotKeys.h"

#include <string>
#include <vector>

namespace zolvex::test {

/// A desktop whose hot keys a test plays. It notes what it is asked for, in order.
class FakeHotKeys final : public HotKeys {
 public:
  Status handlerStatus = noError;
  Outcome outcome;           ///< Of each registration.
  bool answersLate = false;  ///< Registrations wait for answer().
  std::vector<std::string> calls;

  void press(const HotKeyIdentifier& identifier = {"ZLVX", 1}) const {
    if (handler_) handler_(identifier);
  }

  /// Answers the last registration, even one that was given up or has been answered.
  void answer() const { answer_(outcome); }

  bool hasHandler() const { return handler_ != nullptr; }
  const HotKey& hotKey() const { return hotKey_; }

  Status installHandler(Handler handler) override {
    calls.emplace_back("install handler");
    if (handlerStatus == noError) handler_ = std::move(handler);
    return handlerStatus;
  }
  void removeHandler() override {
    calls.emplace_back("remove handler");
    handler_ = nullptr;
  }
  void registerHotKey(const HotKey& hotKey, Answer answer) override {
    calls.emplace_back("register");
    hotKey_ = hotKey;
    answer_ = std::move(answer);
    if (!answersLate) answer_(outcome);
  }
  void unregisterHotKey() override { calls.emplace_back("unregister"); }

 private:
  HotKey hotKey_;
  Handler handler_;
  Answer answer_;
};

}  // namespace zolvex::test
