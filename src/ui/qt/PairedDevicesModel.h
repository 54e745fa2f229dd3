#pragma once

#include "core/Lifetime.h"
#include "ui/PairedDevicesPresentation.h"
#include "ui/UserInterface.h"
#include "ui/qt/RowModel.h"

#include <QObject>
#include <QtQmlIntegration>

#include <set>
#include <string>
#include <vector>

namespace zolvex {

/// The settings' devices section: what the last scan found, and what the user has ticked but not saved yet.
/// Main thread.
class PairedDevicesModel final : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("made by the application")
  Q_PROPERTY(QString scanning READ scanning NOTIFY changed)
  Q_PROPERTY(QString nothingFound READ nothingFound NOTIFY changed)
  Q_PROPERTY(QString nothingFoundHint READ nothingFoundHint NOTIFY changed)
  Q_PROPERTY(QAbstractListModel* rows READ rows CONSTANT)

 public:
  explicit PairedDevicesModel(const UserInterfaceObjects& objects, QObject* parent = nullptr);

  /// Ticks what is managed now.
  void loadSelection();

  /// Scans in the background; until that ends, the managed devices are shown at once.
  void scan();

  const std::set<std::string>& selectedAddresses() const { return selectedAddresses_; }
  const std::vector<PairedDevicePayload>& paired() const { return paired_; }

  QString scanning() const;
  QString nothingFound() const;
  QString nothingFoundHint() const;
  QAbstractListModel* rows() { return &rows_; }

 public Q_SLOTS:
  void toggle(const QString& id);

 Q_SIGNALS:
  void changed();

 private:
  void scanned(const std::vector<PairedDevicePayload>& devices);
  void present();

  UserInterfaceObjects use_;
  std::vector<PairedDevicePayload> paired_;
  std::set<std::string> selectedAddresses_;
  bool isLoading_ = false;
  PairedDevicesPresentation shown_;
  RowModel rows_;
  Lifetime lifetime_;
};

}  // namespace zolvex
