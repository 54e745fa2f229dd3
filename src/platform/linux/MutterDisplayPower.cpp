#include "platform/linux/MutterDisplayPower.h"

#include "platform/linux/BusService.h"

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

bool isOff(const QVariant& powerSaveMode) {
  constexpr int on = 0;  // standby, suspend and off follow; -1 is unknown
  return powerSaveMode.toInt() > on;
}

}  // namespace

MutterDisplayPower::MutterDisplayPower(BusService& displayConfig, SessionAspect& displayOff)
    : displayOff_(displayOff),
      source_(displayOff.addSource(displayConfig.name())),
      powerSaveMode_(displayConfig,
                     {u"/org/gnome/Mutter/DisplayConfig"_s, u"org.gnome.Mutter.DisplayConfig"_s, u"PowerSaveMode"_s},
                     {.found = [this](const QVariant& mode) { displayOff_.found(source_, isOff(mode)); },
                      .changed = [this](const QVariant& mode) { displayOff_.changed(source_, isOff(mode)); },
                      .lost = [this] { displayOff_.lost(source_); }}) {}

}  // namespace zolvex
