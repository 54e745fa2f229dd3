#include "lab/session/ScreenServices.h"

#include "lab/session/DisplayConfig.h"
#include "lab/session/ScreenSavers.h"

namespace zolvex::lab {

using namespace Qt::StringLiterals;

ScreenServices::ScreenServices(Screen& screen) : screen_(screen) {
  connect(&screen_, &Screen::lockedChanged, this, &ScreenServices::tellActive);
  connect(&screen_, &Screen::litChanged, this, [this] {
    if (connection_) connection_->tree().publishChanges(DisplayConfig::path());
  });
}

bool ScreenServices::start(const QString& busAddress) {
  connection_ = std::make_unique<ServiceConnection>(busAddress);
  if (!connection_->attach()) return false;
  auto& tree = connection_->tree();
  tree.add(GnomeScreenSaver::path(), {std::make_shared<GnomeScreenSaver>(screen_)});
  for (const auto& path : FreedesktopScreenSaver::paths())
    tree.add(path, {std::make_shared<FreedesktopScreenSaver>(screen_)});
  tree.add(DisplayConfig::path(), {std::make_shared<DisplayConfig>(screen_)});
  return connection_->own(u"org.gnome.ScreenSaver"_s) && connection_->own(u"org.freedesktop.ScreenSaver"_s) &&
         connection_->own(u"org.gnome.Mutter.DisplayConfig"_s);
}

void ScreenServices::tellActive(bool active) {
  if (!connection_) return;
  auto& tree = connection_->tree();
  tree.sendSignal(GnomeScreenSaver::path(), u"org.gnome.ScreenSaver"_s, u"ActiveChanged"_s, {active});
  for (const auto& path : FreedesktopScreenSaver::paths())
    tree.sendSignal(path, u"org.freedesktop.ScreenSaver"_s, u"ActiveChanged"_s, {active});
}

}  // namespace zolvex::lab
