#include "ui/qt/PairedDevicesModel.h"

#include "core/SettingsKeys.h"
#include "ui/qt/QtText.h"

#include <QCollator>
#include <QLocale>

#include <utility>

namespace zolvex {

namespace {

/// The order of names in the user's language. A language is not known everywhere.
NameOrder userOrder() {
  if (QLocale() == QLocale::c()) return naturalOrder;
  QCollator collator;
  collator.setNumericMode(true);
  collator.setCaseSensitivity(Qt::CaseInsensitive);
  return [collator](std::string_view one, std::string_view other) {
    return collator.compare(qString(one), qString(other)) < 0;
  };
}

}  // namespace

PairedDevicesModel::PairedDevicesModel(const UserInterfaceObjects& objects, QObject* parent)
    : QObject(parent), use_(objects), rows_({"symbol", "name", "dot", "isSelected", "mark", "markColour"}) {}

void PairedDevicesModel::loadSelection() {
  const auto stored = use_.defaults.stringArray(settings::managedDeviceAddresses).value_or(StringArray());
  selectedAddresses_ = {stored.begin(), stored.end()};
  present();
}

void PairedDevicesModel::scan() {
  const auto& managed = use_.bluetoothStore.peripherals();
  if (!managed.empty()) paired_ = pairedFromManaged(managed);
  isLoading_ = true;
  present();
  use_.listPairedDevices(lifetime_.guard([this](const auto& devices) { scanned(devices); }));
}

void PairedDevicesModel::scanned(const std::vector<PairedDevicePayload>& devices) {
  paired_ = devices;
  isLoading_ = false;
  present();
}

void PairedDevicesModel::toggle(const QString& id) {
  selectedAddresses_ = toggled(std::move(selectedAddresses_), id.toStdString());
  present();
}

void PairedDevicesModel::present() {
  shown_ = presentPairedDevices({paired_, selectedAddresses_, isLoading_}, userOrder());
  QList<RowModel::Row> rows;
  for (const auto& row : shown_.rows)
    rows.append({qString(row.id),
                 {qString(row.symbol), qString(row.name), qString(row.dot), row.isSelected, qString(row.mark),
                  qString(row.markColour)}});
  rows_.setRows(rows);
  Q_EMIT changed();
}

QString PairedDevicesModel::scanning() const {
  return qString(shown_.scanning);
}

QString PairedDevicesModel::nothingFound() const {
  return qString(shown_.nothingFound);
}

QString PairedDevicesModel::nothingFoundHint() const {
  return qString(shown_.nothingFoundHint);
}

}  // namespace zolvex
