"""One event loop for everything that a machine's scripts do on the bus, and the only way to wait."""
import time

import dbus.mainloop.glib
from gi.repository import GLib

dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
_TICK_MILLISECONDS = 60


def wait_until(condition, limit):
    """Handles events until `condition` holds, or `limit` seconds have passed. Whether it holds."""
    context = GLib.MainContext.default()
    deadline = time.monotonic() + limit
    timer = GLib.timeout_add(_TICK_MILLISECONDS, lambda: True)  # so that the condition is looked at
    try:
        while not condition():
            if time.monotonic() > deadline:
                return False
            context.iteration(True)
        return True
    finally:
        GLib.source_remove(timer)


def pause(seconds):
    wait_until(lambda: False, seconds)
