#include "ui/qt/SettingsModel.h"

#include "core/SettingsKeys.h"
#include "ui/SettingsPresentation.h"
#include "ui/SetupSave.h"
#include "ui/qt/QtText.h"

namespace zolvex {

SettingsModel::SettingsModel(const UserInterfaceObjects& objects, QObject* parent)
    : QObject(parent), use_(objects), pairedDevices_(objects), peers_(objects), preferences_(objects) {
  connect(&pairedDevices_, &PairedDevicesModel::changed, this, &SettingsModel::present);
  present();
}

void SettingsModel::open() {
  pairedDevices_.loadSelection();
}

void SettingsModel::appear() {
  preferences_.open();
  expanded_ = sectionAtOpening(expanded_, !use_.bluetoothStore.peripherals().empty());
  peers_.refresh();
  pairedDevices_.scan();
}

void SettingsModel::refresh() {
  peers_.refresh();
  preferences_.refresh();
  present();
}

void SettingsModel::present() {
  const auto selectedCount = pairedDevices_.selectedAddresses().size();
  const auto* peer = use_.networkStore.registeredPeer();
  setup_ = presentSetup(selectedCount, peer != nullptr);
  const SettingsState state{.selectedCount = selectedCount,
                            .peer = peer,
                            .discoveredCount = use_.networkStore.discoveredNetworkDevices().size(),
                            .autoConnect = use_.defaults.boolean(settings::autoConnect).value_or(true),
                            .expanded = expanded_};
  const auto headers = presentSections(state, use_.mainQueue.now());
  for (std::size_t i = 0; i < headers.size(); ++i)
    headers_[i] = SectionValue::from(headers[i], expanded_ == headers[i].section);
  Q_EMIT changed();
}

void SettingsModel::clickSection(Section section) {
  const auto click = zolvex::clickSection(expanded_, static_cast<SettingsSection>(section));
  expanded_ = click.expanded;
  present();
  if (click.refreshesPairedDevices) pairedDevices_.scan();
}

void SettingsModel::save() {
  if (!setup_.isComplete()) {
    expanded_ = setup_.needsAttention;
    return present();
  }
  saveManagedDevices(pairedDevices_.selectedAddresses(), pairedDevices_.paired(), use_.defaults, use_.bluetoothStore);
  use_.deviceManager.devicesConfigured();
  Q_EMIT saved();
}

void SettingsModel::uninstall() {
  if (use_.uninstall) use_.uninstall();
}

QString SettingsModel::backSymbol() const {
  return qString(SettingsFrame().backSymbol);
}

QString SettingsModel::title() const {
  return qString(SettingsFrame().title);
}

QString SettingsModel::saveText() const {
  return qString(SettingsFrame().save);
}

QString SettingsModel::uninstallText() const {
  return qString(SettingsFrame().uninstall);
}

QString SettingsModel::uninstallTint() const {
  return qString(SettingsFrame().uninstallTint);
}

QString SettingsModel::hint() const {
  return qString(setup_.hint);
}

}  // namespace zolvex
