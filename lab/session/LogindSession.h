#pragma once

#include "lab/bus/BusInterface.h"

namespace zolvex::lab {

class Logind;

/// org.freedesktop.login1.Session of the one graphical session. Owned by logind.
class LogindSession : public BusInterface {
 public:
  explicit LogindSession(Logind& logind) : logind_(logind) {}

  QString name() const override;
  QVariantMap properties() const override;
  bool handle(const BusCall& call) override;
  QString introspection() const override;

 private:
  Logind& logind_;
};

}  // namespace zolvex::lab
