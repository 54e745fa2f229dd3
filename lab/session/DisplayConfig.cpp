#include "lab/session/DisplayConfig.h"

namespace zolvex::lab {

using namespace Qt::StringLiterals;

namespace {

const auto powerSaveMode = u"PowerSaveMode"_s;

// 1 and 2 are standby and suspend, which nothing here uses.
constexpr int modeOn = 0;
constexpr int modeOff = 3;

}  // namespace

QString DisplayConfig::path() {
  return u"/org/gnome/Mutter/DisplayConfig"_s;
}

QString DisplayConfig::name() const {
  return u"org.gnome.Mutter.DisplayConfig"_s;
}

QVariantMap DisplayConfig::properties() const {
  return {{powerSaveMode, screen_.isLit() ? modeOn : modeOff}};
}

void DisplayConfig::setProperty(const BusCall& call, const QString& property, const QVariant& value) {
  if (property != powerSaveMode) return BusInterface::setProperty(call, property, value);
  if (value.typeId() != QMetaType::Int)
    return call.fail(u"org.freedesktop.DBus.Error.InvalidArgs"_s, u"PowerSaveMode is a number"_s);
  call.reply();
  screen_.setLit(value.toInt() == modeOn);
}

QString DisplayConfig::introspection() const {
  return QStringLiteral(R"(<property name="PowerSaveMode" type="i" access="readwrite"/>
)");
}

}  // namespace zolvex::lab
