"""org.bluez as a client sees it."""
import time
from dataclasses import dataclass

import dbus

from pump import wait_until

ADAPTER, DEVICE, AGENT_MANAGER = "org.bluez.Adapter1", "org.bluez.Device1", "org.bluez.AgentManager1"
PROPERTIES, OBJECT_MANAGER = "org.freedesktop.DBus.Properties", "org.freedesktop.DBus.ObjectManager"
QUICK_LIMIT, CALL_LIMIT = 10.0, 60.0


@dataclass
class Answer:
    """How a call ended; `error` is the name of the error, empty after a success, "none" when no answer came."""

    error: str
    text: str
    seconds: float
    value: object = None

    def __str__(self):
        return self.error.replace("org.bluez.Error.", "") + (f" ({self.text})" if self.text else "") or "success"


class PendingCall:
    def __init__(self):
        self.began, self.answer = time.monotonic(), None

    def on_reply(self, *values):
        self.answer = Answer("", "", self._seconds(), values[0] if values else None)

    def on_error(self, error):
        self.answer = Answer(error.get_dbus_name(), error.get_dbus_message() or "", self._seconds())

    def _seconds(self):
        return time.monotonic() - self.began

    def wait(self, limit=CALL_LIMIT):
        if wait_until(lambda: self.answer is not None, limit):
            return self.answer
        return Answer("none", "", self._seconds())


class Bluez:
    """Notes everything that the daemon announces in `signals`: (seconds, member, path, what)."""

    def __init__(self):
        self.bus = dbus.SystemBus(private=True)
        self.bus.set_exit_on_disconnect(False)
        self.signals = []
        for member in ("InterfacesAdded", "InterfacesRemoved", "PropertiesChanged"):
            self.bus.add_signal_receiver(
                self._note(member), signal_name=member, bus_name="org.bluez", path_keyword="path"
            )

    def _note(self, member):
        def on_signal(*arguments, path):
            subject = str(arguments[0]) if member != "PropertiesChanged" else path
            content = arguments[1] if member != "InterfacesRemoved" else [str(name) for name in arguments[1]]
            self.signals.append((time.monotonic(), member, subject, content))

        return on_signal

    def is_on_bus(self):
        return self.bus.name_has_owner("org.bluez")

    def begin(self, path, interface, method, signature="", *arguments):
        call = PendingCall()
        self.bus.call_async(
            "org.bluez", path, interface, method, signature, arguments, call.on_reply, call.on_error, timeout=600
        )
        return call

    def call(self, path, interface, method, signature="", *arguments, limit=CALL_LIMIT):
        return self.begin(path, interface, method, signature, *arguments).wait(limit)

    def objects(self):
        return self.call("/", OBJECT_MANAGER, "GetManagedObjects", limit=QUICK_LIMIT).value or {}

    def adapters(self):
        """Path -> properties, in the order of the paths."""
        return {str(path): all_[ADAPTER] for path, all_ in sorted(self.objects().items()) if ADAPTER in all_}

    def adapter_path(self, address):
        return next((path for path, known in self.adapters().items() if known["Address"] == address), None)

    def devices(self, adapter=""):
        return {
            str(path): all_[DEVICE]
            for path, all_ in self.objects().items()
            if DEVICE in all_ and str(path).startswith(adapter)
        }

    def device(self, adapter, address):
        """Its properties, or None when the adapter does not know it."""
        return self.devices(adapter).get(device_path(adapter, address))

    def flag(self, path, name):
        answer = self.call(path, PROPERTIES, "Get", "ss", DEVICE, name, limit=QUICK_LIMIT)
        return bool(answer.value) if not answer.error else None

    def set_property(self, path, interface, name, value):
        return self.call(path, PROPERTIES, "Set", "ssv", interface, name, value)

    def discover(self, adapter, address, limit=15.0, transport="bredr"):
        """Whether the device was found."""
        path, begin = device_path(adapter, address), len(self.signals)
        self.call(adapter, ADAPTER, "SetDiscoveryFilter", "a{sv}", {"Transport": transport})
        self.call(adapter, ADAPTER, "StartDiscovery")
        is_known = path in self.devices(adapter) or self.wait_for("InterfacesAdded", path, begin, limit)
        self.call(adapter, ADAPTER, "StopDiscovery")
        return is_known

    def wait_for(self, member, subject, begin, limit):
        """Whether such a signal is among those from number `begin` on, now or within `limit` seconds."""

        def is_there():
            return any(signal[1] == member and signal[2] == subject for signal in self.signals[begin:])

        return wait_until(is_there, limit)


def device_path(adapter, address):
    return f"{adapter}/dev_{address.replace(':', '_')}"
