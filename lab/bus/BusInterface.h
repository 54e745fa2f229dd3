#pragma once

#include "lab/bus/BusCall.h"

#include <QString>
#include <QStringList>
#include <QVariantMap>

namespace zolvex::lab {

/// One D-Bus interface of one exported object. Lives in a BusTree, on the thread of that.
class BusInterface {
 public:
  virtual ~BusInterface() = default;

  virtual QString name() const = 0;

  /// The present values of all readable properties; one that is left out is absent.
  virtual QVariantMap properties() const { return {}; }

  /// Names of the properties whose changes PropertiesChanged does not tell.
  virtual QStringList silentProperties() const { return {}; }

  /// Answers `call` now or later; false when the interface has no such method.
  virtual bool handle(const BusCall& call) = 0;

  /// Answers the call of Properties.Set. By default nothing can be written.
  virtual void setProperty(const BusCall& call, const QString& property, const QVariant& value);

  /// The <method/>, <signal/> and <property/> elements.
  virtual QString introspection() const { return {}; }
};

}  // namespace zolvex::lab
