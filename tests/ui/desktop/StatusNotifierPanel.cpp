#include "ui/desktop/StatusNotifierPanel.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <gtest/gtest.h>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace zolvex::test {

namespace {

constexpr auto xfceSettings = R"(<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=2;x=0;y=0"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="length" type="uint" value="20"/>
      <property name="size" type="uint" value="28"/>
      <property name="plugin-ids" type="array">
        <value type="int" value="1"/>
      </property>
    </property>
  </property>
  <property name="plugins" type="empty">
    <property name="plugin-1" type="string" value="systray"/>
  </property>
</channel>
)";

constexpr auto lxqtSettings = R"([General]
panels=panel1

[panel1]
plugins=tray
position=Top
desktop=0
width=20
width-percent=true
alignment=1
panelSize=28
iconSize=22
lineCount=1
hidable=false
reserve-space=true

[tray]
type=statusnotifier
)";

/// Its place has the name of the architecture in it.
QString xfceSettingsService() {
  for (const auto& architecture : QDir(u"/usr/lib"_s).entryList({u"*-linux-gnu*"_s}, QDir::Dirs))
    if (const auto path = u"/usr/lib/%1/xfce4/xfconf/xfconfd"_s.arg(architecture); QFile::exists(path)) return path;
  return {};
}

QString valueOf(const QString& name, const ProgramRun::Variables& variables) {
  const auto found =
      std::find_if(variables.begin(), variables.end(), [&](const auto& variable) { return variable.first == name; });
  return found == variables.end() ? QString() : found->second;
}

[[nodiscard]] bool isOnBus(const QString& service, const QString& busAddress) {
  const auto name = u"looking for "_s + service;
  const bool isThere = runUntil([bus = QDBusConnection::connectToBus(busAddress, name), &service] {
    return bus.interface() && bus.interface()->isServiceRegistered(service);
  });
  QDBusConnection::disconnectFromBus(name);
  return isThere;
}

void write(const QString& folder, const QString& name, const char* text) {
  QDir().mkpath(folder);
  QFile file(folder + u'/' + name);
  if (file.open(QIODevice::WriteOnly)) file.write(text);
}

}  // namespace

std::string StatusNotifierPanel::reasonAgainst() const {
  const auto program = kind_ == Kind::xfce ? u"xfce4-panel"_s : u"lxqt-panel"_s;
  if (QStandardPaths::findExecutable(program).isEmpty() || (kind_ == Kind::xfce && xfceSettingsService().isEmpty()))
    return program.toStdString() + " is not installed (a Debian package of this name)";
  return {};
}

void StatusNotifierPanel::start(const ProgramRun::Variables& variables) {
  const auto configuration = valueOf(u"XDG_CONFIG_HOME"_s, variables);
  kind_ == Kind::xfce ? startXfce(configuration, variables) : startLxqt(configuration, variables);
}

void StatusNotifierPanel::startXfce(const QString& configuration, const ProgramRun::Variables& variables) {
  write(configuration + u"/xfce4/xfconf/xfce-perchannel-xml"_s, u"xfce4-panel.xml"_s, xfceSettings);
  settings_.emplace(xfceSettingsService(), QStringList{}, variables);
  EXPECT_TRUE(isOnBus(u"org.xfce.Xfconf"_s, valueOf(u"DBUS_SESSION_BUS_ADDRESS"_s, variables)));
  panel_.emplace(u"xfce4-panel"_s, QStringList{u"--sm-client-disable"_s}, variables);
}

void StatusNotifierPanel::startLxqt(const QString& configuration, const ProgramRun::Variables& variables) {
  write(configuration + u"/lxqt"_s, u"panel.conf"_s, lxqtSettings);
  panel_.emplace(u"lxqt-panel"_s, QStringList{}, variables);
}

void StatusNotifierPanel::stop() {
  if (!panel_) return;
  panel_->terminate();
  (void)panel_->hasEnded();
  panel_.reset();
  settings_.reset();
}

}  // namespace zolvex::test
