#pragma once

#include "lab/bus/BusInterface.h"

namespace zolvex::lab {

class Logind;

/// org.freedesktop.login1.Manager, as far as programs need it to follow and to cause sleep and locking. Owned by
/// logind.
class LogindManager : public BusInterface {
 public:
  explicit LogindManager(Logind& logind) : logind_(logind) {}

  static QString path();

  QString name() const override;
  QVariantMap properties() const override;
  QStringList silentProperties() const override;
  bool handle(const BusCall& call) override;
  QString introspection() const override;

 private:
  void inhibit(const BusCall& call);
  void suspend(const BusCall& call);
  void lockSession(const BusCall& call, bool lock);
  void getSession(const BusCall& call) const;
  void getSessionByProcess(const BusCall& call) const;
  void getUser(const BusCall& call) const;
  void listSessions(const BusCall& call) const;
  void listInhibitors(const BusCall& call) const;

  Logind& logind_;
};

}  // namespace zolvex::lab
