#pragma once

#include "lab/PrivateBus.h"
#include "support/ProgramRun.h"

#include <QFile>
#include <QTemporaryDir>

#include <csignal>
#include <optional>

namespace zolvex::test {

/// A user's computer without anything but two message buses, which need not run: the real zolvex and zolvexctl in it.
class ZolvexProcess {
 public:
  ~ZolvexProcess() { zolvex.reset(); }

  void start(const QStringList& arguments = {}) { zolvex.emplace(QStringLiteral(ZOLVEX), arguments, variables()); }

  /// Starts it and waits until it is on the session bus, which must run.
  [[nodiscard]] bool startOnBus() {
    start();
    return zolvex->complains("connected to the session bus") && isAnswering();
  }
  [[nodiscard]] bool isAnswering() {
    return runUntil([this] { return control({QStringLiteral("status")}).exitStatus() == 0; });
  }

  ProgramRun control(const QStringList& arguments) {
    return ProgramRun(QStringLiteral(ZOLVEXCTL), arguments, variables());
  }

  /// Ends it as the session does; the exit status.
  int end() {
    zolvex->terminate();
    return zolvex->exitStatus();
  }

  QString settingsFile() const { return directory.filePath(QStringLiteral("zolvex/settings.json")); }
  void writeSettings(const QByteArray& json) const {
    QDir().mkpath(directory.filePath(QStringLiteral("zolvex")));
    QFile file(settingsFile());
    if (file.open(QIODevice::WriteOnly)) file.write(json);
  }

  /// What it wrote to be started at login.
  QString autostartFile() const { return directory.filePath(QStringLiteral("autostart/quenmar.zolvex.app.desktop")); }

  ProgramRun::Variables variables() const {
    return {{QStringLiteral("HOME"), directory.path()},
            {QStringLiteral("XDG_CONFIG_HOME"), directory.path()},
            {QStringLiteral("XDG_RUNTIME_DIR"), directory.path()},
            {QStringLiteral("DISPLAY"), display},
            {QStringLiteral("WAYLAND_DISPLAY"), waylandDisplay},
            {QStringLiteral("XDG_SESSION_TYPE"), isWayland ? QStringLiteral("wayland") : QStringLiteral("")},
            {QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"), systemBus.address()},
            {QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), sessionBus.address()}};
  }

  QTemporaryDir directory;
  lab::PrivateBus systemBus;
  lab::PrivateBus sessionBus;
  QString display;         ///< An X server; empty for none.
  QString waylandDisplay;  ///< A compositor; empty for none.
  bool isWayland = false;
  std::optional<ProgramRun> zolvex;
};

}  // namespace zolvex::test
