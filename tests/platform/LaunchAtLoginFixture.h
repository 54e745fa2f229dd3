#pragma once

#include "platform/UserManagerSocket.h"
#include "platform/linux/BusLink.h"
#include "platform/linux/LinuxLaunchAtLogin.h"
#include "platform/linux/QtMainQueue.h"
#include "support/LogCapture.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>

namespace zolvex::test {

/// A user with configuration and run-time directories, units of all users, and a program that is to be started.
struct LaunchAtLoginFixture : testing::Test {
  static std::string textOf(const std::filesystem::path& file) {
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
  }
  static void writeFile(const std::filesystem::path& file, const std::string& text) {
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file) << text;
  }
  static void link(const std::string& target, const std::filesystem::path& place) {
    std::filesystem::create_directories(place.parent_path());
    std::filesystem::create_symlink(target, place);
  }
  static std::string makeProgram(const std::filesystem::path& path) {
    writeFile(path, "#!/bin/sh\n");
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    return path;
  }

  /// The user's systemd runs from now on.
  void startUserManager() { makeUserManagerSocket(root / "run"); }
  void reachSessionTarget() { link("0123", root / "run/systemd/units/invocation:graphical-session.target"); }

  LinuxLaunchAtLogin launchAtLogin(std::optional<std::string> startedProgram = {}) {
    return {{root / "config", root / "run", {root / "etc", root / "usr"}}, startedProgram.value_or(program), link_};
  }
  bool isEnabled() { return launchAtLogin().status().isEnabled; }
  std::string problem() { return launchAtLogin().status().problem; }

  QTemporaryDir directory;
  const std::filesystem::path root{directory.path().toStdString()};
  const std::string program = makeProgram(root / "bin/zolvex");
  const std::filesystem::path entry = root / "config/autostart/quenmar.zolvex.app.desktop";
  const std::filesystem::path unit = root / "config/systemd/user/zolvex.service";
  const std::filesystem::path wanted = root / "config/systemd/user/graphical-session.target.wants/zolvex.service";
  LogCapture log;
  QtMainQueue queue;
  BusLink link_{queue, "session bus", "unix:path=/nonexistent"};
};

}  // namespace zolvex::test
