"""What the observations are made on: the real daemon in a machine, or the lab's. Both have a keyboard that behaves as it
is told, and an adapter."""
import json
import os
import sys
from collections import namedtuple

from bluez import ADAPTER, Bluez, device_path
from notes import NotImitatedError
from pump import wait_until

FREE_LIMIT = 15.0
PeerAdapter = namedtuple("PeerAdapter", "path address")


class Subject:
    def __init__(self):
        self.bluez = Bluez()
        self.calls = []  # (method, answer), oldest first

    @property
    def path(self):
        """Of the keyboard's object, whether it exists or not."""
        return device_path(self.adapter, self.keyboard)

    def device(self):
        return self.bluez.device(self.adapter, self.keyboard)

    def call(self, interface, method, signature="", *arguments, path=None, limit=60.0):
        target = path or (self.adapter if interface == ADAPTER else self.path)
        assert target, "no adapter"
        answer = self.bluez.call(target, interface, method, signature, *arguments, limit=limit)
        self.calls.append((method, answer))
        return answer

    def find(self):
        assert self.bluez.discover(self.adapter, self.keyboard), "the keyboard is not found"


class RealDaemon(Subject):
    name = "bluetoothd"

    def __init__(self, world):
        super().__init__()
        self._world = world
        self.keyboard = world.keyboard.address

    @property
    def adapter(self):
        return self._world.adapter

    def reset(self):
        self._world.reset()

    def distrust(self):
        self._world.daemon.distrust()

    def own_end(self):
        return self._world.daemon.own_end()

    def behave(self, behaviour):
        self._world.keyboard.behave(behaviour)

    def bond_elsewhere(self):
        """The keyboard bonds with another computer: another adapter plays it."""
        self._world.keyboard.order("drop")
        other = self.second_adapter()
        for command in ("connect", "unregister"):
            run = self._world.worker(command, self.keyboard, other.address)
            assert run.status == 0, run
        wait_until(lambda: not self._world.keyboard.state()["host"], FREE_LIMIT)

    def second_adapter(self):
        other = self._world.adapters[1]
        other.plug_in()
        self._world.await_power(other)
        return PeerAdapter(self.bluez.adapter_path(other.address), other.address)

    def unplug(self):
        self._world.adapters[0].unplug()


class LabDaemon(Subject):
    """The lab gives orders to its radio on the other end of our standard streams."""

    name = "lab"
    keyboard = "02:5A:00:00:00:01"
    FAULTS = {
        "asleep": "asleep",
        "refuses-pairing": "refuses-pairing",
        "hangs-on-pair": "hangs-on-pair",
        "hangs-on-connect": "hangs-on-connect",
        "refuses-connection": "refuses-connection",
    }

    def __init__(self):
        super().__init__()
        self._computer = os.environ["LAB_COMPUTER"]

    @property
    def adapter(self):
        return next(iter(self.bluez.adapters()), None)

    def _order(self, text):
        print(f"ORDER {text}", flush=True)
        sys.stdin.readline()

    def reset(self):
        self._order("lift")
        self.bluez.set_property(self.adapter, ADAPTER, "Powered", True)
        for path in self.bluez.devices():
            self.bluez.call(self.adapter, ADAPTER, "RemoveDevice", "o", path)

    def distrust(self):
        pass  # what it imitates has no secrets

    def own_end(self):
        return None

    def behave(self, behaviour):
        self._order("lift")
        if behaviour != "normal":
            self._order(f"fault {self.FAULTS[behaviour]}:{self.keyboard}@{self._computer}")

    def bond_elsewhere(self):
        self._order(f"fault bond-forgotten:{self.keyboard}@{self._computer}")
        path = self.path
        if self.bluez.flag(path, "Connected"):
            self.bluez.call(path, "org.bluez.Device1", "Disconnect")

    def second_adapter(self):
        raise NotImitatedError("a computer of the lab has one adapter")

    def unplug(self):
        self._order(f"fault adapter-unplugged@{self._computer}")


def report(subject, results):
    """Where the host finds them."""
    text = json.dumps({"subject": subject.name, "results": results})
    if os.environ.get("LAB_COMPUTER"):
        print(f"RESULTS {text}", flush=True)
    else:
        with open("/run/vm/observations.json", "w") as file:
            file.write(text)
