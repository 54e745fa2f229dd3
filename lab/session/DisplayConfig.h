#pragma once

#include "lab/bus/BusInterface.h"
#include "lab/session/Screen.h"

namespace zolvex::lab {

/// The power saving of org.gnome.Mutter.DisplayConfig. Owned by the screen services.
class DisplayConfig : public BusInterface {
 public:
  explicit DisplayConfig(Screen& screen) : screen_(screen) {}
  static QString path();

  QString name() const override;
  QVariantMap properties() const override;
  bool handle(const BusCall&) override { return false; }
  void setProperty(const BusCall& call, const QString& property, const QVariant& value) override;
  QString introspection() const override;

 private:
  Screen& screen_;
};

}  // namespace zolvex::lab
