#pragma once

#include <QMultiMap>
#include <QString>
#include <QStringList>

namespace zolvex::lab {

/// The network between the computers of a world: a network namespace each, a virtual cable between every two, since
/// neither bridges nor dummy links can be relied on. Lives in the sandbox and goes with this object.
class Network {
 public:
  Network() = default;
  ~Network();

  /// False when it cannot be built; errorString() says why.
  bool build(const QStringList& computers);

  /// Takes a computer off the network, or puts it back. The others keep their ends of its cables. False when that
  /// fails.
  bool setConnected(const QString& computer, bool connected);

  QString errorString() const { return error_; }

  /// File that stands for the network namespace of a computer.
  static QString namespaceFile(const QString& computer);

  /// Name of a computer on its network: lower-case letters and digits.
  static QString hostName(const QString& computer);

 private:
  bool runIp(const QStringList& commands);
  QStringList cable(int first, int second, int number);
  static QStringList bringUp(const QString& host, int cable);

  QStringList hosts_;
  QMultiMap<QString, int> cables_;  // host -> their numbers
  QString error_;
};

}  // namespace zolvex::lab
