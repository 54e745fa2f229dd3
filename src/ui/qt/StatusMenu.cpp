#include "ui/qt/StatusMenu.h"

#include "ui/StatusItemPresentation.h"
#include "ui/qt/MainModel.h"
#include "ui/qt/QtText.h"

namespace zolvex {

StatusMenu::StatusMenu(const UserInterfaceObjects& objects, const std::function<void()>& open) : use_(objects) {
  const StatusItemMenu texts = presentStatusItemMenu(false);
  menu_.addAction(qString(texts.open), &menu_, open);
  mainActions_ = {addMainAction(false), addMainAction(true)};
  menu_.addSeparator();
  menu_.addAction(qString(texts.quit), &menu_, [this] { use_.quit(); });
  QObject::connect(&menu_, &QMenu::aboutToShow, &menu_, [this] { update(); });
  update();
}

QAction* StatusMenu::addMainAction(bool anyConnected) {
  const auto shown = presentStatusItemMenu(anyConnected).action;
  return menu_.addAction(qString(shown.text), &menu_, [this, shown] { run(shown.action, use_.deviceManager); });
}

void StatusMenu::update() {
  const bool anyConnected = use_.bluetoothStore.anyConnected();
  mainActions_[0]->setVisible(!anyConnected);
  mainActions_[1]->setVisible(anyConnected);
}

}  // namespace zolvex
