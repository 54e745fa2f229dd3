#pragma once

#include "lab/world/World.h"
#include "ui/accessibility/ScreenReader.h"
#include "ui/desktop/XDesktop.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>

namespace zolvex::test {

/// A computer of the lab with a display of its own, and its user, who knows only what is to be seen there.
class Seat {
 public:
  explicit Seat(lab::Desktop& its) : computer(its) {}

  /// Display, panel and screen reader, before zolvex is started.
  [[nodiscard]] bool start();

  /// Clicks on the control of this name as soon as it is there and stands still.
  testing::AssertionResult click(const QString& name);

  /// Whether this is soon to be seen.
  testing::AssertionResult sees(const QString& text);

  /// Clicks on the icon until the popover is there: a panel takes an icon some time after it was offered.
  testing::AssertionResult opensPopover();
  testing::AssertionResult closesPopover();

  QStringList filesInHome() const;
  QVariant setting(const QString& key) const;

  lab::Desktop& computer;
  XDesktop screen;
  ScreenReader reader;

 private:
  QTemporaryDir home_;  // of the programs of the desktop, so that all in the computer's own is of zolvex
};

/// "Studio" and "Laptop" of the lab with a seat at each.
class TwoDesktops : public testing::Test {
 protected:
  using Clock = std::chrono::steady_clock;

  TwoDesktops();
  void SetUp() override;
  void TearDown() override;

  /// As if neither had ever run zolvex.
  void forgetSettings();

  [[nodiscard]] bool hasAllDevices(const Seat& seat) const;
  testing::AssertionResult getsAllDevices(Seat& seat);
  [[nodiscard]] bool comesToRest();

  lab::World world;
  Seat studio;
  Seat laptop;

 private:
  static lab::WorldOptions options();
  QStringList log_;
};

}  // namespace zolvex::test
