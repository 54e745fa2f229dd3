#pragma once

#include "lab/bus/BusTree.h"

#include <QObject>

#include <memory>

namespace zolvex::lab {

/// org.freedesktop.hostname1 with a pretty name, on a computer's system bus. Owned by the desktop.
class HostNameService {
 public:
  HostNameService(QString prettyName, QString hostName);
  ~HostNameService();

  /// False when the bus is not there.
  bool start(const QString& busAddress);

  /// Whether somebody owns that name on the same bus.
  bool isOnBus(const QString& service) const;

 private:
  QString prettyName_;
  QString hostName_;
  QString connectionName_;
  std::unique_ptr<BusTree> tree_;
};

/// org.freedesktop.Notifications on a computer's session bus: shows nothing, tells what it was asked to show. Owned by
/// the desktop.
class NotificationService : public QObject {
  Q_OBJECT

 public:
  explicit NotificationService(const QString& computer);
  ~NotificationService() override;

  /// False when the bus is not there.
  bool start(const QString& busAddress);

  /// Titles of all that was shown, oldest first.
  const QStringList& titles() const { return titles_; }

 Q_SIGNALS:
  void shown(const QString& title);

 private:
  QString connectionName_;
  std::unique_ptr<BusTree> tree_;
  QStringList titles_;
};

}  // namespace zolvex::lab
