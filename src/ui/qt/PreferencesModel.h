#pragma once

#include "ui/PreferencesPresentation.h"
#include "ui/UserInterface.h"
#include "ui/qt/ShownValues.h"

#include <QObject>
#include <QStringList>
#include <QtQmlIntegration>

namespace zolvex {

/// The settings' preferences section. What is changed here is in effect at once. Main thread.
class PreferencesModel final : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("made by the application")
  Q_PROPERTY(zolvex::ToggleValue launchAtLogin READ launchAtLogin NOTIFY changed)
  Q_PROPERTY(zolvex::ToggleValue autoRelease READ autoRelease NOTIFY changed)
  Q_PROPERTY(QStringList releaseTimes READ releaseTimeTexts CONSTANT)
  Q_PROPERTY(int releaseTime READ releaseTime NOTIFY changed)
  Q_PROPERTY(zolvex::ToggleValue autoSwitch READ autoSwitch NOTIFY changed)
  Q_PROPERTY(zolvex::ToggleValue globalHotkey READ globalHotkey NOTIFY changed)
  Q_PROPERTY(QString connectionTitle READ connectionTitle CONSTANT)
  Q_PROPERTY(QStringList connections READ connectionTexts CONSTANT)
  Q_PROPERTY(int connection READ connection NOTIFY changed)

 public:
  explicit PreferencesModel(const UserInterfaceObjects& objects, QObject* parent = nullptr);

  /// Also looks at what the system says of launch at login, which refresh() takes as known.
  void open();
  void refresh();

  ToggleValue launchAtLogin() const { return ToggleValue::from(shown_.launchAtLogin); }
  ToggleValue autoRelease() const { return ToggleValue::from(shown_.autoRelease); }
  ToggleValue autoSwitch() const { return ToggleValue::from(shown_.autoSwitch); }
  ToggleValue globalHotkey() const { return ToggleValue::from(shown_.globalHotkey); }
  QString connectionTitle() const;
  QStringList releaseTimeTexts() const;
  QStringList connectionTexts() const;

  /// Indices of the texts; -1 for none.
  int releaseTime() const;
  int connection() const;

 public Q_SLOTS:
  void setLaunchAtLogin(bool isOn);
  void setAutoRelease(bool isOn);
  void setReleaseTime(int index);
  void setAutoSwitch(bool isOn);
  void setGlobalHotkey(bool isOn);
  void setConnection(int index);

 Q_SIGNALS:
  void changed();

 private:
  UserInterfaceObjects use_;
  bool isLaunchAtLogin_ = false;
  PreferencesPresentation shown_;
};

}  // namespace zolvex
