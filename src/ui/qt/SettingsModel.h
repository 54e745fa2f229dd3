#pragma once

#include "ui/SettingsSection.h"
#include "ui/SetupPresentation.h"
#include "ui/UserInterface.h"
#include "ui/qt/PairedDevicesModel.h"
#include "ui/qt/PeerSectionModel.h"
#include "ui/qt/PreferencesModel.h"
#include "ui/qt/ShownValues.h"

#include <QObject>
#include <QtQmlIntegration>

#include <array>
#include <optional>

namespace zolvex {

/// The settings page: three sections of which at most one is open, how far the setup is, and what "Save" and
/// "Uninstall" do. Main thread.
class SettingsModel final : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("made by the application")
  Q_PROPERTY(QString backSymbol READ backSymbol CONSTANT)
  Q_PROPERTY(QString title READ title CONSTANT)
  Q_PROPERTY(QString saveText READ saveText CONSTANT)
  Q_PROPERTY(QString uninstallText READ uninstallText CONSTANT)
  Q_PROPERTY(QString uninstallTint READ uninstallTint CONSTANT)
  Q_PROPERTY(zolvex::SectionValue devicesHeader READ devicesHeader NOTIFY changed)
  Q_PROPERTY(zolvex::SectionValue peerHeader READ peerHeader NOTIFY changed)
  Q_PROPERTY(zolvex::SectionValue preferencesHeader READ preferencesHeader NOTIFY changed)
  Q_PROPERTY(QString hint READ hint NOTIFY changed)
  Q_PROPERTY(zolvex::AlertValue uninstallAlert READ uninstallAlert CONSTANT)
  Q_PROPERTY(zolvex::PairedDevicesModel* pairedDevices READ pairedDevices CONSTANT)
  Q_PROPERTY(zolvex::PeerSectionModel* peers READ peers CONSTANT)
  Q_PROPERTY(zolvex::PreferencesModel* preferences READ preferences CONSTANT)

 public:
  enum class Section { Devices, Peer, Preferences };  // those of SettingsSection
  Q_ENUM(Section)

  explicit SettingsModel(const UserInterfaceObjects& objects, QObject* parent = nullptr);

  /// The page replaces the main page: what is ticked is what is managed.
  void open();

  /// The page comes into sight, which it also does when the popover was closed for a while, perhaps to pair a device or
  /// to change something elsewhere. What is ticked stays.
  void appear();
  void refresh();

  QString backSymbol() const;
  QString title() const;
  QString saveText() const;
  QString uninstallText() const;
  QString uninstallTint() const;
  SectionValue devicesHeader() const { return headers_[0]; }
  SectionValue peerHeader() const { return headers_[1]; }
  SectionValue preferencesHeader() const { return headers_[2]; }
  QString hint() const;
  AlertValue uninstallAlert() const { return AlertValue::from(zolvex::uninstallAlert); }
  PairedDevicesModel* pairedDevices() { return &pairedDevices_; }
  PeerSectionModel* peers() { return &peers_; }
  PreferencesModel* preferences() { return &preferences_; }

 public Q_SLOTS:
  void clickSection(zolvex::SettingsModel::Section section);
  void save();
  void uninstall();

 Q_SIGNALS:
  void changed();
  void saved();

 private:
  void present();

  UserInterfaceObjects use_;
  PairedDevicesModel pairedDevices_;
  PeerSectionModel peers_;
  PreferencesModel preferences_;
  std::optional<SettingsSection> expanded_;
  std::array<SectionValue, 3> headers_;
  SetupPresentation setup_;
};

}  // namespace zolvex
