#pragma once

#include "desktop/Screen.h"
#include "lab/Computer.h"
#include "lab/PrivateBus.h"
#include "lab/Radio.h"

#include <QProcess>
#include <QTemporaryDir>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace zolvex::bench {

/// A desktop without hardware on which panel programs feel at home: an X server, a window manager, a panel at the top,
/// two buses, and the daemons that the programs ask about, NetworkManager and BlueZ. All of it ends with this.
class TestDesktop {
 public:
  using Milliseconds = std::chrono::duration<double, std::milli>;

  static constexpr QRect panel{1080, 0, 200, 28};
  static constexpr QPoint lastIcon{1266, 14};  ///< The icon that was there first is at the end of the panel.

  /// Why it cannot be had here; empty when it can.
  static std::string reasonAgainst();

  TestDesktop();
  ~TestDesktop();
  TestDesktop(const TestDesktop&) = delete;

  /// False when something does not start.
  bool start();

  const Screen& screen() const { return *screen_; }

  /// For the programs on it. Each gets a home of its own.
  QProcessEnvironment environment() const;

  /// The time until `condition` holds, looking about once in a millisecond; none when it does not within a limit. The
  /// daemons go on meanwhile.
  static std::optional<Milliseconds> timeUntil(const std::function<bool()>& condition);

  /// Lets everything go on for so long.
  static void wait(std::chrono::milliseconds time);

 private:
  std::unique_ptr<QProcess> run(const QString& program, const QStringList& arguments) const;
  bool startServer();

  QTemporaryDir home_;
  lab::Radio radio_;
  lab::Computer computer_{radio_, QStringLiteral("Studio")};
  lab::PrivateBus session_;
  QProcess server_;
  QString display_;
  std::unique_ptr<Screen> screen_;
  std::unique_ptr<QProcess> windowManager_, panelProgram_, networkManager_;
};

}  // namespace zolvex::bench
