"""Xfce's panel with a tray for icons that come over the bus. It keeps right clicks to itself and shows a menu."""
import glob
import pathlib
import subprocess

SETTINGS_NAME = "org.xfce.Xfconf"

HEIGHT = 28  # pixels at scale 1
SETTINGS = """<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=2;x=0;y=0"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="length" type="uint" value="{length}"/>
      <property name="size" type="uint" value="{size}"/>
      <property name="plugin-ids" type="array">
        <value type="int" value="1"/>
      </property>
    </property>
  </property>
  <property name="plugins" type="empty">
    <property name="plugin-1" type="string" value="systray"/>
  </property>
</channel>
"""


def _start(command, environment):
    return subprocess.Popen(command, env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                            stderr=subprocess.DEVNULL)


def start_settings(environment):
    """The service that tells the panel what is on it."""
    file = pathlib.Path(environment["XDG_CONFIG_HOME"]) / "xfce4/xfconf/xfce-perchannel-xml/xfce4-panel.xml"
    file.parent.mkdir(parents=True, exist_ok=True)
    file.write_text(SETTINGS.format(length=1, size=HEIGHT))
    return _start(glob.glob("/usr/lib/*/xfce4/xfconf/xfconfd"), environment)


def start(environment, scale):
    return _start(["xfce4-panel", "--sm-client-disable"], dict(environment, GDK_SCALE=str(scale)))
