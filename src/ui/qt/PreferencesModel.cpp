#include "ui/qt/PreferencesModel.h"

#include "core/SettingsKeys.h"
#include "ui/qt/QtText.h"

namespace zolvex {

namespace {

int indexOf(const std::optional<std::size_t>& index) {
  return index ? static_cast<int>(*index) : -1;
}

template <class Table>
QStringList textsOf(const Table& table) {
  QStringList texts;
  for (const auto& row : table) texts.append(qString(row.text));
  return texts;
}

}  // namespace

PreferencesModel::PreferencesModel(const UserInterfaceObjects& objects, QObject* parent)
    : QObject(parent), use_(objects), shown_(presentPreferences({})) {}

void PreferencesModel::open() {
  isLaunchAtLogin_ = use_.launchAtLogin.status().isEnabled;
  refresh();
}

void PreferencesModel::refresh() {
  const auto& defaults = use_.defaults;
  const auto transportMode = use_.networkStore.transportMode();
  shown_ = presentPreferences({.isLaunchAtLogin = isLaunchAtLogin_,
                               .autoRelease = defaults.boolean(settings::autoRelease).value_or(true),
                               .autoReleaseHours = defaults.number(settings::autoReleaseHours).value_or(-1.0),
                               .autoConnect = defaults.boolean(settings::autoConnect).value_or(true),
                               .globalHotkeyEnabled = defaults.boolean(settings::globalHotkeyEnabled).value_or(true),
                               .hotKey = use_.hotKeyState(),
                               .transportMode = transportMode});
  Q_EMIT changed();
}

QString PreferencesModel::connectionTitle() const {
  return qString(shown_.connectionTitle);
}

QStringList PreferencesModel::releaseTimeTexts() const {
  return textsOf(releaseTimes);
}

QStringList PreferencesModel::connectionTexts() const {
  return textsOf(connections);
}

int PreferencesModel::releaseTime() const {
  return indexOf(shown_.releaseTime);
}

int PreferencesModel::connection() const {
  return indexOf(shown_.connection);
}

void PreferencesModel::setLaunchAtLogin(bool isOn) {
  zolvex::setLaunchAtLogin(isOn, use_.launchAtLogin, use_.defaults);  // logs what fails
  open();
}

void PreferencesModel::setAutoRelease(bool isOn) {
  use_.defaults.set(settings::autoRelease, isOn);
  refresh();
}

void PreferencesModel::setReleaseTime(int index) {
  use_.defaults.set(settings::autoReleaseHours, releaseTimes.at(static_cast<std::size_t>(index)).hours);
  refresh();
}

void PreferencesModel::setAutoSwitch(bool isOn) {
  use_.defaults.set(settings::autoConnect, isOn);
  refresh();
}

void PreferencesModel::setGlobalHotkey(bool isOn) {
  use_.defaults.set(settings::globalHotkeyEnabled, isOn);
  refresh();
}

void PreferencesModel::setConnection(int index) {
  use_.networkStore.setTransportMode(connections.at(static_cast<std::size_t>(index)).transportMode);
  refresh();
}

}  // namespace zolvex
