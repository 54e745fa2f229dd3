#pragma once

#include "ui/UserInterface.h"
#include "ui/qt/RowModel.h"
#include "ui/qt/ShownValues.h"

#include <QObject>
#include <QtQmlIntegration>

namespace zolvex {

/// The settings' peer section. Main thread.
class PeerSectionModel final : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("made by the application")
  Q_PROPERTY(QString searching READ searching NOTIFY changed)
  Q_PROPERTY(QAbstractListModel* discovered READ discovered CONSTANT)
  Q_PROPERTY(bool hasPeer READ hasPeer NOTIFY changed)
  Q_PROPERTY(zolvex::PeerValue registered READ registered NOTIFY changed)
  Q_PROPERTY(zolvex::AlertValue removeAlert READ removeAlert CONSTANT)

 public:
  explicit PeerSectionModel(const UserInterfaceObjects& objects, QObject* parent = nullptr);

  void refresh();

  QString searching() const { return searching_; }
  QAbstractListModel* discovered() { return &discovered_; }
  bool hasPeer() const { return hasPeer_; }
  PeerValue registered() const { return registered_; }
  AlertValue removeAlert() const { return AlertValue::from(removePeerAlert); }

 public Q_SLOTS:
  void add(const QString& id);
  void remove();

 Q_SIGNALS:
  void changed();

 private:
  UserInterfaceObjects use_;
  QString searching_;
  RowModel discovered_;
  bool hasPeer_ = false;
  PeerValue registered_;
};

}  // namespace zolvex
