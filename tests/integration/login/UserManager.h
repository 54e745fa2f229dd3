#pragma once

#include "support/ProgramRun.h"

#include <QString>
#include <QStringList>

#include <filesystem>
#include <optional>
#include <string>

namespace zolvex::test {

/// The real systemd of a user who has logged in, with a desktop that may come and go. Everything it starts ends with
/// the sandbox at the latest.
class UserManager {
 public:
  /// What it needs and is not installed here; empty when all is.
  static std::string missing();

  /// `home` is an empty directory.
  explicit UserManager(std::filesystem::path home);
  ~UserManager();

  /// Waits until it is up.
  [[nodiscard]] bool start();

  /// Reaches graphical-session.target as a desktop does, or ends it.
  [[nodiscard]] bool beginDesktop();
  [[nodiscard]] bool endDesktop();

  /// What "systemctl --user ..." prints, without the line feed at the end.
  std::string systemctl(const QStringList& arguments) const;

  /// A property of the service of Zolvex.
  std::string property(const QString& name) const;
  [[nodiscard]] bool reaches(const QString& name, const std::string& value) const;

  /// The environment of its session.
  ProgramRun::Variables variables() const;

  std::string configHome() const { return home_ / "config"; }
  static std::string runtimeDirectory() { return "/run/zolvex-user"; }
  static std::string busAddress() { return "unix:path=" + runtimeDirectory() + "/bus"; }

 private:
  const std::filesystem::path home_;
  std::optional<ProgramRun> run_;
};

}  // namespace zolvex::test
