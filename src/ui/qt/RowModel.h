#pragma once

#include <QAbstractListModel>
#include <QList>
#include <QString>
#include <QVariant>

namespace zolvex {

/// Rows of a list, each known by its id. New rows replace the old ones with as few changes as possible, so that what
/// is shown of a row that stays (its focus, its place) stays, too. Main thread.
class RowModel final : public QAbstractListModel {
  Q_OBJECT
  Q_PROPERTY(int count READ count NOTIFY countChanged)

 public:
  struct Row {
    QString id;
    QVariantList values;  ///< One for each role.

    bool operator==(const Row&) const = default;
  };

  /// Besides `roles` each row has the role "rowId".
  explicit RowModel(QList<QByteArray> roles, QObject* parent = nullptr);

  void setRows(const QList<Row>& rows);
  int count() const { return static_cast<int>(rows_.size()); }

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QHash<int, QByteArray> roleNames() const override;

 Q_SIGNALS:
  void countChanged();

 private:
  void removeMissing(const QList<Row>& wanted);
  void place(qsizetype position, const Row& row);
  void removeFrom(qsizetype position);
  qsizetype find(const QString& id, qsizetype from) const;

  const QList<QByteArray> roles_;
  QList<Row> rows_;
};

}  // namespace zolvex
