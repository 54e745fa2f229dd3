"""Sees the calls of other programs on the system bus, so that something can happen in the middle of one."""
import dbus
import dbus.lowlevel


class CallMonitor:
    """Runs `on_call` as soon as somebody calls the daemon's `member` for the first time."""

    def __init__(self, member, on_call):
        self._member, self._on_call = member, on_call
        self.was_called = False
        self._bus = dbus.SystemBus(private=True)
        self._bus.set_exit_on_disconnect(False)
        self._bus.add_message_filter(self._filter)
        rule = f"type='method_call',destination='org.bluez',member='{member}'"
        monitoring = self._bus.get_object("org.freedesktop.DBus", "/org/freedesktop/DBus", introspect=False)
        monitoring.BecomeMonitor(dbus.Array([rule], signature="s"), dbus.UInt32(0), dbus_interface="org.freedesktop.DBus.Monitoring")

    def _filter(self, _, message):
        if message.get_member() == self._member and not self.was_called:
            self.was_called = True
            self._on_call()
        return dbus.lowlevel.HANDLER_RESULT_HANDLED  # a monitor that answers is thrown out

    def close(self):
        self._bus.close()
