#include "ui/qt/PopoverModel.h"

#include "core/Version.h"
#include "ui/qt/QtText.h"

namespace zolvex {

PopoverModel::PopoverModel(const UserInterfaceObjects& objects, QObject* parent)
    : QObject(parent),
      use_(objects),
      main_(objects),
      settings_(objects),
      about_(objects.helpAddress),
      watch_(objects, [this] { refresh(); }) {
  connect(&settings_, &SettingsModel::saved, this, &PopoverModel::back);
}

void PopoverModel::open() {
  isOpen_ = true;
  use_.deviceManager.refreshFromLiveState();
  main_.refresh();
  if (showSettings_) settings_.appear();
}

void PopoverModel::refresh() {
  if (!isOpen_) return;
  main_.refresh();
  if (showSettings_) settings_.refresh();
}

void PopoverModel::showSettings() {
  if (showSettings_) return;
  showSettings_ = true;
  settings_.open();
  if (isOpen_) settings_.appear();
  Q_EMIT pageChanged();
}

void PopoverModel::showAbout() {
  showAbout_ = true;
  Q_EMIT pageChanged();
}

void PopoverModel::back() {
  (showSettings_ ? showSettings_ : showAbout_) = false;
  main_.refresh();
  Q_EMIT pageChanged();
}

void PopoverModel::quit() {
  if (use_.quit) use_.quit();
}

QString PopoverModel::title() const {
  return qString(frame_.title);
}

QString PopoverModel::hotKeyBadge() const {
  return qString(frame_.hotKeyBadge);
}

QString PopoverModel::hotKeyTooltip() const {
  return qString(frame_.hotKeyTooltip);
}

QString PopoverModel::hotKeyColour() const {
  return qString(frame_.hotKeyColour);
}

QString PopoverModel::aboutSymbol() const {
  return qString(frame_.about.symbol);
}

QString PopoverModel::aboutName() const {
  return qString(frame_.about.accessibleName);
}

QString PopoverModel::settingsSymbol() const {
  return qString(frame_.settings.symbol);
}

QString PopoverModel::settingsName() const {
  return qString(frame_.settings.accessibleName);
}

QString PopoverModel::version() const {
  return qString(presentVersion(shortVersion(), buildNumber()));
}

QString PopoverModel::versionColour() const {
  return qString(frame_.versionColour);
}

QString PopoverModel::quitText() const {
  return qString(frame_.quit);
}

QString PopoverModel::quitTint() const {
  return qString(frame_.quitTint);
}

}  // namespace zolvex
