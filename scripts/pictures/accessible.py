"""The windows as a screen reader has them: a tree of things with names, roles and actions."""
import contextlib

import dbus

ROOT = "/org/a11y/atspi/accessible/root"
ACCESSIBLE = "org.a11y.atspi.Accessible"
ACTION = "org.a11y.atspi.Action"
SHOWING = 25  # the bit of what is on the screen, in the states of AT-SPI

CALL_LIMIT = 5  # seconds


class Accessible:
    """One of them. What it stands for may be gone: then it has no name and no children."""

    def __init__(self, bus, name, path):
        self._bus, self._name, self._path = bus, name, path

    def _call(self, interface, method, *arguments):
        target = self._bus.get_object(self._name, self._path, introspect=False)
        return target.get_dbus_method(method, interface)(*arguments, timeout=CALL_LIMIT)

    def _ask(self, otherwise, interface, method, *arguments):
        try:
            return self._call(interface, method, *arguments)
        except dbus.DBusException:
            return otherwise

    @property
    def name(self):
        return str(self._ask("", "org.freedesktop.DBus.Properties", "Get", ACCESSIBLE, "Name"))

    @property
    def description(self):
        return str(self._ask("", "org.freedesktop.DBus.Properties", "Get", ACCESSIBLE, "Description"))

    @property
    def role(self):
        return str(self._ask("", ACCESSIBLE, "GetRoleName"))

    @property
    def is_showing(self):
        states = self._ask([0], ACCESSIBLE, "GetState")
        return bool(int(states[0]) >> SHOWING & 1)

    @property
    def children(self):
        return [Accessible(self._bus, name, path) for name, path in self._ask([], ACCESSIBLE, "GetChildren")]

    def press(self):
        """As a screen reader does it for its user. False when it cannot be pressed."""
        for number, action in enumerate(self._ask([], ACTION, "GetActions")):
            if str(action[0]) == "Press":
                return bool(self._call(ACTION, "DoAction", dbus.Int32(number)))
        return False

    def walk(self):
        """This and everything below it that is on the screen."""
        yield self
        for child in self.children:
            if child.is_showing:
                yield from child.walk()


class AccessibilityBus:
    """The bus on which programs show their windows to screen readers."""

    def __init__(self, session):
        launcher = session.get_object("org.a11y.Bus", "/org/a11y/bus", introspect=False)
        self._announce_reader(launcher)
        address = launcher.get_dbus_method("GetAddress", "org.a11y.Bus")(timeout=CALL_LIMIT)
        self._bus = dbus.bus.BusConnection(address)

    @staticmethod
    def _announce_reader(launcher):
        """Tells programs that somebody listens, as screen readers do. Some versions of the launcher refuse its options
        for that."""
        change = launcher.get_dbus_method("Set", dbus.PROPERTIES_IFACE)
        on = dbus.Boolean(True, variant_level=1)
        with contextlib.suppress(dbus.DBusException):  # newer versions have no such property
            change("org.a11y.Status", "ScreenReaderEnabled", on, timeout=CALL_LIMIT)
        change("org.a11y.Status", "IsEnabled", on, timeout=CALL_LIMIT)

    def everything(self):
        """All that any program shows now."""
        registry = Accessible(self._bus, "org.a11y.atspi.Registry", ROOT)
        for program in registry.children:
            for window in program.children:
                yield from window.walk()

    def find(self, name, role=None):
        """The first with this name or None; with this role, when one is asked for."""
        for one in self.everything():
            if one.name == name and role in (None, one.role):
                return one
        return None

    def says(self, text):
        """How many names and descriptions begin with this text."""
        return sum(one.name.startswith(text) or one.description.startswith(text) for one in self.everything())
