#pragma once

#include <QDir>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

namespace zolvex::lab {

/// A real dbus-daemon of one's own, with a policy that lets everybody own and call everything. It listens on a Unix
/// socket in a temporary directory and ends with this object, or with this process however that ends.
class PrivateBus {
 public:
  PrivateBus() = default;
  ~PrivateBus();

  /// Starts the daemon and waits until it listens, at most 10 s. False when it cannot; errorString() says why.
  bool start();

  /// Ends the daemon; its clients lose their connections. Can be started again, at the same address.
  void stop();

  /// "unix:path=...", valid after the first start.
  QString address() const;
  QString errorString() const { return error_; }
  qint64 processId() const { return daemon_.processId(); }

 private:
  bool writeConfiguration();

  QTemporaryDir directory_{QDir::tempPath() + QStringLiteral("/zolvex-bus-XXXXXX")};
  QProcess daemon_;
  QString error_;
};

}  // namespace zolvex::lab
