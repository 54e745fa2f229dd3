#pragma once

#include "lab/bus/BusInterface.h"

namespace zolvex::lab {

/// org.freedesktop.login1.User of the one user, whose display is the one session. Owned by logind.
class LogindUser : public BusInterface {
 public:
  QString name() const override;
  QVariantMap properties() const override;
  bool handle(const BusCall&) override { return false; }
  QString introspection() const override;
};

}  // namespace zolvex::lab
