#pragma once

#include "lab/bus/BusInterface.h"
#include "lab/session/Screen.h"

#include <QElapsedTimer>
#include <QStringList>

namespace zolvex::lab {

/// What the two screen saver interfaces have in common. "Active" is what programs take for "locked".
class ScreenSaver : public QObject, public BusInterface {
 public:
  explicit ScreenSaver(Screen& screen);

  bool handle(const BusCall& call) override;

 protected:
  Screen& screen() { return screen_; }

 private:
  quint32 activeSeconds() const;

  Screen& screen_;
  QElapsedTimer sinceLocked_;
};

/// org.gnome.ScreenSaver as GNOME's shell has it. Owned by the screen services.
class GnomeScreenSaver : public ScreenSaver {
 public:
  using ScreenSaver::ScreenSaver;
  static QString path();

  QString name() const override;
  bool handle(const BusCall& call) override;
  QString introspection() const override;
};

/// org.freedesktop.ScreenSaver as KDE's locker has it. Owned by the screen services.
class FreedesktopScreenSaver : public ScreenSaver {
 public:
  using ScreenSaver::ScreenSaver;
  static QStringList paths();

  QString name() const override;
  bool handle(const BusCall& call) override;
  QString introspection() const override;

 private:
  quint32 lastCookie_ = 0;
};

}  // namespace zolvex::lab
