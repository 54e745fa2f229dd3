#pragma once

#include "support/ProgramRun.h"

#include <QStandardPaths>
#include <QString>
#include <QStringList>

#include <optional>
#include <string>

namespace zolvex::test {

/// A real X server without hardware, where Xvfb is installed.
class XvfbServer {
 public:
  /// Why tests cannot have it; empty when they can.
  static std::string reasonAgainst() {
    for (const auto* program : {"Xvfb", "xset"})
      if (QStandardPaths::findExecutable(QString::fromLatin1(program)).isEmpty())
        return std::string(program) + " is not installed (Debian packages xvfb and x11-xserver-utils)";
    return {};
  }

  /// At a display of its own choice, or at the given one; `options` are further ones for the server.
  [[nodiscard]] bool start(const QString& display = {}, const QStringList& options = {}) {
    QStringList arguments{QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-nolisten"),
                          QStringLiteral("tcp"), QStringLiteral("-noreset")};
    if (!display.isEmpty()) arguments.prepend(display);
    arguments += options;
    server_.emplace(QStringLiteral("Xvfb"), arguments);
    if (!server_->prints("\n")) return false;
    display_ = ":" + QString::fromStdString(server_->output()).trimmed().toStdString();
    return true;
  }
  void stop() { server_.reset(); }

  std::string display() const { return display_; }
  qint64 processId() const { return server_->processId(); }

  /// Runs xset with this server and `arguments`; whether it did what it was told.
  [[nodiscard]] bool set(const QStringList& arguments) const {
    return ProgramRun(QStringLiteral("xset"), arguments,
                      {{QStringLiteral("DISPLAY"), QString::fromStdString(display_)}})
               .exitStatus() == 0;
  }

 private:
  std::optional<ProgramRun> server_;
  std::string display_;
};

}  // namespace zolvex::test
