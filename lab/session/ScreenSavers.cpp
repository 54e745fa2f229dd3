#include "lab/session/ScreenSavers.h"

namespace zolvex::lab {

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 millisecondsPerSecond = 1'000;

}  // namespace

ScreenSaver::ScreenSaver(Screen& screen) : screen_(screen) {
  connect(&screen, &Screen::lockedChanged, this, [this](bool locked) {
    if (locked)
      sinceLocked_.start();
    else
      sinceLocked_.invalidate();
  });
}

bool ScreenSaver::handle(const BusCall& call) {
  if (call.member() == u"GetActive"_s) return call.reply({screen_.isLocked()}), true;
  if (call.member() == u"GetActiveTime"_s) return call.reply({activeSeconds()}), true;
  if (call.member() == u"Lock"_s) return call.reply(), screen_.setLocked(true), true;
  return false;
}

quint32 ScreenSaver::activeSeconds() const {
  return sinceLocked_.isValid() ? static_cast<quint32>(sinceLocked_.elapsed() / millisecondsPerSecond) : 0;
}

QString GnomeScreenSaver::path() {
  return u"/org/gnome/ScreenSaver"_s;
}

QString GnomeScreenSaver::name() const {
  return u"org.gnome.ScreenSaver"_s;
}

bool GnomeScreenSaver::handle(const BusCall& call) {
  if (call.member() == u"SetActive"_s && call.signature() == u"b"_s)
    return call.reply(), screen().setLocked(call.arguments().value(0).toBool()), true;
  return ScreenSaver::handle(call);
}

QString GnomeScreenSaver::introspection() const {
  return QStringLiteral(R"(<method name="Lock"/>
<method name="GetActive"><arg name="active" type="b" direction="out"/></method>
<method name="SetActive"><arg name="value" type="b" direction="in"/></method>
<method name="GetActiveTime"><arg name="value" type="u" direction="out"/></method>
<signal name="ActiveChanged"><arg name="new_value" type="b"/></signal>
)");
}

QStringList FreedesktopScreenSaver::paths() {
  return {u"/org/freedesktop/ScreenSaver"_s, u"/ScreenSaver"_s};
}

QString FreedesktopScreenSaver::name() const {
  return u"org.freedesktop.ScreenSaver"_s;
}

bool FreedesktopScreenSaver::handle(const BusCall& call) {
  if (call.member() == u"SimulateUserActivity"_s) return call.reply(), screen().simulateActivity(), true;
  if (call.member() == u"SetActive"_s && call.signature() == u"b"_s)
    return call.reply({true}), screen().setLocked(call.arguments().value(0).toBool()), true;
  if (call.member() == u"GetSessionIdleTime"_s) return call.reply({quint32{0}}), true;
  if (call.member() == u"Inhibit"_s && call.signature() == u"ss"_s) return call.reply({++lastCookie_}), true;
  if (call.member() == u"UnInhibit"_s && call.signature() == u"u"_s) return call.reply(), true;
  return ScreenSaver::handle(call);
}

QString FreedesktopScreenSaver::introspection() const {
  return QStringLiteral(R"(<method name="Lock"/>
<method name="SimulateUserActivity"/>
<method name="GetActive"><arg type="b" direction="out"/></method>
<method name="GetActiveTime"><arg name="seconds" type="u" direction="out"/></method>
<method name="GetSessionIdleTime"><arg name="seconds" type="u" direction="out"/></method>
<method name="SetActive"><arg name="e" type="b" direction="in"/><arg type="b" direction="out"/></method>
<method name="Inhibit"><arg name="application_name" type="s" direction="in"/><arg name="reason_for_inhibit" type="s" direction="in"/><arg name="cookie" type="u" direction="out"/></method>
<method name="UnInhibit"><arg name="cookie" type="u" direction="in"/></method>
<signal name="ActiveChanged"><arg type="b"/></signal>
)");
}

}  // namespace zolvex::lab
