#pragma once

#include "lab/bus/BusTree.h"

#include <QString>

#include <memory>

namespace zolvex::lab {

/// A service's own connection to a bus and the objects that it exports there. Ends with this object, and with it the
/// names that the service owns.
class ServiceConnection {
 public:
  explicit ServiceConnection(const QString& busAddress);
  ~ServiceConnection();
  ServiceConnection(const ServiceConnection&) = delete;

  /// Must be called once, before objects are added. False when the bus is not there.
  bool attach() { return tree_->attach(); }

  BusTree& tree() { return *tree_; }
  bool own(const QString& serviceName) { return tree_->connection().registerService(serviceName); }

  /// Process and user of a client of the bus; 0 when it is gone.
  quint32 processOf(const QString& client) const;
  quint32 userOf(const QString& client) const;

 private:
  QString name_;
  std::unique_ptr<BusTree> tree_;
};

}  // namespace zolvex::lab
