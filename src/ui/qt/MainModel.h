#pragma once

#include "ui/UserInterface.h"
#include "ui/qt/RowModel.h"
#include "ui/qt/ShownValues.h"

#include <QObject>
#include <QtQmlIntegration>

namespace zolvex {

/// The popover's main page: forwards the presentation of the current state, and clicks to the device manager.
/// Main thread.
class MainModel final : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("made by the application")
  Q_PROPERTY(zolvex::HeaderValue header READ header NOTIFY changed)
  Q_PROPERTY(QString peerText READ peerText NOTIFY changed)
  Q_PROPERTY(QString peerDot READ peerDot NOTIFY changed)
  Q_PROPERTY(zolvex::ActionValue primary READ primary NOTIFY changed)
  Q_PROPERTY(bool hasSecondary READ hasSecondary NOTIFY changed)
  Q_PROPERTY(zolvex::ActionValue secondary READ secondary NOTIFY changed)
  Q_PROPERTY(QAbstractListModel* devices READ devices CONSTANT)

 public:
  explicit MainModel(const UserInterfaceObjects& objects, QObject* parent = nullptr);

  /// Shows the state as it is now.
  void refresh();

  HeaderValue header() const { return header_; }
  QString peerText() const { return peerText_; }
  QString peerDot() const { return peerDot_; }
  ActionValue primary() const { return ActionValue::from(action_.primary); }
  bool hasSecondary() const { return action_.secondary.has_value(); }
  ActionValue secondary() const { return action_.secondary ? ActionValue::from(*action_.secondary) : ActionValue(); }
  QAbstractListModel* devices() { return &devices_; }

 public Q_SLOTS:
  void runPrimary();
  void runSecondary();
  void cancel();

 Q_SIGNALS:
  void changed();

 private:
  void refreshDevices(bool isSwitching);

  UserInterfaceObjects use_;
  HeaderValue header_;
  QString peerText_, peerDot_;
  MainActionPresentation action_;
  RowModel devices_;
};

/// Has the device manager do what a button asks for.
void run(DeviceAction action, DeviceManager& manager);

}  // namespace zolvex
