#include "ui/qt/RowModel.h"

#include <algorithm>
#include <utility>

namespace zolvex {

namespace {

constexpr int idRole = Qt::UserRole;

int toInt(qsizetype number) {
  return static_cast<int>(number);
}

}  // namespace

RowModel::RowModel(QList<QByteArray> roles, QObject* parent) : QAbstractListModel(parent), roles_(std::move(roles)) {}

void RowModel::setRows(const QList<Row>& rows) {
  const auto before = rows_.size();
  removeMissing(rows);
  for (qsizetype position = 0; position < rows.size(); ++position) place(position, rows[position]);
  removeFrom(rows.size());
  if (rows_.size() != before) Q_EMIT countChanged();
}

void RowModel::removeMissing(const QList<Row>& wanted) {
  for (auto position = rows_.size() - 1; position >= 0; --position) {
    const auto isWanted =
        std::any_of(wanted.begin(), wanted.end(), [&](const Row& row) { return row.id == rows_[position].id; });
    if (isWanted) continue;
    beginRemoveRows({}, toInt(position), toInt(position));
    rows_.removeAt(position);
    endRemoveRows();
  }
}

/// More rows than one may have had the same id, as what comes from outside does.
void RowModel::removeFrom(qsizetype position) {
  if (position >= rows_.size()) return;
  beginRemoveRows({}, toInt(position), toInt(rows_.size() - 1));
  rows_.resize(position);
  endRemoveRows();
}

/// Every row before `position` is in its place already.
void RowModel::place(qsizetype position, const Row& row) {
  const auto found = find(row.id, position);
  if (found < 0) {
    beginInsertRows({}, toInt(position), toInt(position));
    rows_.insert(position, row);
    endInsertRows();
    return;
  }
  if (found != position) {
    beginMoveRows({}, toInt(found), toInt(found), {}, toInt(position));
    rows_.move(found, position);
    endMoveRows();
  }
  if (rows_[position] == row) return;
  rows_[position] = row;
  Q_EMIT dataChanged(index(toInt(position)), index(toInt(position)));
}

qsizetype RowModel::find(const QString& id, qsizetype from) const {
  for (auto position = from; position < rows_.size(); ++position)
    if (rows_[position].id == id) return position;
  return -1;
}

int RowModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : count();
}

QVariant RowModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= count() || role < idRole) return {};
  const auto& row = rows_[index.row()];
  return role == idRole ? QVariant(row.id) : row.values.value(role - idRole - 1);
}

QHash<int, QByteArray> RowModel::roleNames() const {
  QHash<int, QByteArray> names{{idRole, "rowId"}};
  for (qsizetype i = 0; i < roles_.size(); ++i) names.insert(idRole + 1 + toInt(i), roles_[i]);
  return names;
}

}  // namespace zolvex
