"""The settings of a desktop that has them: light or dark, and no animations, so that every picture comes to rest."""
import dbus
import dbus.service

NAME = "org.freedesktop.portal.Desktop"
PATH = "/org/freedesktop/portal/desktop"
SETTINGS = "org.freedesktop.portal.Settings"
APPEARANCE = "org.freedesktop.appearance"

DARK, LIGHT = 1, 2


class Portal(dbus.service.Object):
    """Plays the part of xdg-desktop-portal that programs ask for their looks."""

    def __init__(self, session):
        self._bus_name = dbus.service.BusName(NAME, session, do_not_queue=True)
        super().__init__(session, PATH)
        self._scheme = LIGHT

    def choose(self, is_dark):
        """What the user does in the settings of the desktop."""
        self._scheme = DARK if is_dark else LIGHT
        self.SettingChanged(APPEARANCE, "color-scheme", dbus.UInt32(self._scheme, variant_level=1))

    @dbus.service.method(SETTINGS, in_signature="as", out_signature="a{sa{sv}}")
    def ReadAll(self, _groups):
        values = {"color-scheme": dbus.UInt32(self._scheme), "reduced-motion": dbus.UInt32(1)}
        return {APPEARANCE: dbus.Dictionary(values, signature="sv")}

    @dbus.service.signal(SETTINGS, signature="ssv")
    def SettingChanged(self, group, key, value):
        pass
