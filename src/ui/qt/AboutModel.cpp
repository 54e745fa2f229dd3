#include "ui/qt/AboutModel.h"

#include "ui/qt/QtText.h"

#include <QDesktopServices>
#include <QUrl>

#include <utility>

namespace zolvex {

AboutModel::AboutModel(HelpAddress helpAddress, QObject* parent)
    : QObject(parent), helpAddress_(std::move(helpAddress)) {}

QString AboutModel::backSymbol() const {
  return qString(shown_.backSymbol);
}

QString AboutModel::title() const {
  return qString(shown_.title);
}

QString AboutModel::image() const {
  return qString(shown_.image);
}

QString AboutModel::line() const {
  return qString(shown_.line);
}

QStringList AboutModel::buttons() const {
  QStringList texts;
  for (const auto& button : shown_.buttons) texts.append(qString(button.text));
  return texts;
}

QString AboutModel::acknowledgements() const {
  return qString(licence_.message);
}

QString AboutModel::acknowledgementsText() const {
  return qString(licence_.informativeText);
}

QString AboutModel::licence() const {
  return qString(licence_.licence);
}

QString AboutModel::done() const {
  return qString(licence_.done);
}

QString AboutModel::tint(int index) const {
  return qString(button(index).tint);
}

bool AboutModel::isProminent(int index) const {
  return button(index).isProminent;
}

bool AboutModel::isEnabled(int index) const {
  return button(index).isEnabled;
}

void AboutModel::run(int index) {
  switch (button(index).action) {
    case AboutAction::checkForUpdates:
      return;
    case AboutAction::openHelp:
      return openHelp();
    case AboutAction::showAcknowledgements:
      Q_EMIT acknowledgementsWanted();
  }
}

void AboutModel::openHelp() const {
  if (const auto address = helpAddress_()) QDesktopServices::openUrl(QUrl(qString(*address), QUrl::StrictMode));
}

}  // namespace zolvex
