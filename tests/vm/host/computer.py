"""A machine that is a whole computer with Zolvex on it, as tests/vm/guest/desktop.py makes it, told what to do from
here."""
import json
import socket
import time

from machine import Machine
from radio import wait_for

BOOT_LIMIT, ORDER_LIMIT = 120.0, 90.0


class Computer:
    def __init__(self, bench, kernel, air, name, number):
        self.name, self.number = name, number
        self._bench, self._kernel, self._air = bench, kernel, air
        self._sockets = air.directory
        self._machine = self._port = self._answers = None
        self.share = bench.logs / "handover" / name
        self.adapter = None

    @property
    def address(self):
        return f"10.77.0.{self.number}"

    @property
    def identity(self):
        """Of the running Zolvex; its peer knows it by the first six characters."""
        return str(self.number) * 32

    def cable(self):
        return self._sockets / f"cable-{self.number}"

    def settings(self, peer, keyboard):
        record = [{"id": peer.identity[:6], "name": peer.name, "lastUpdated": 0, "isActive": False}]
        managed = keyboard.address.replace(":", "-")
        return {
            "peerIdentityID": self.identity,
            "networkDevices": json.dumps(record),
            "managedDeviceAddresses": [managed],
            "deviceNames": {managed: keyboard.name},
            "transportMode": "bonjour",
            "autoConnect": False,
            "autoRelease": False,
        }

    def switch_on(self, peer, keyboard):
        self.share.mkdir(parents=True, exist_ok=True)
        (self.share / "settings.json").write_text(json.dumps(self.settings(peer, keyboard)))
        machine = Machine(self.name, self._bench, self._kernel, self.share)
        orders = self._sockets / f"orders-{self.number}"
        orders.unlink(missing_ok=True)
        self.cable().unlink(missing_ok=True)
        machine.add_socket_port("radio-1", self._air.socket)
        machine.add_port("orders", f"socket,path={orders},server=on,wait=off")
        machine.add_network(self.cable(), peer.cable(), f"52:54:00:77:00:{self.number:02x}")
        console = (self.share / "console.log").open("a")
        machine.start(self._bench.guest("desktop.py", VM_ADDRESS=self.address), console)
        self._machine = machine
        wait_for(lambda: self._connect(orders), BOOT_LIMIT, f"{self.name} does not start")
        self._answers = self._port.makefile()

    def _connect(self, orders):
        """False while nobody listens there: the socket exists a little earlier."""
        if not self._machine.is_running():
            raise self._ended()
        self._port = socket.socket(socket.AF_UNIX)
        if self._port.connect_ex(str(orders)) == 0:
            return True
        self._port.close()
        return False

    def _ended(self):
        return EOFError(f"{self.name} has ended; see {self.share}")

    def await_ready(self):
        self.adapter = self._read(BOOT_LIMIT)["ready"]

    def _read(self, limit):
        self._port.settimeout(limit)
        line = self._answers.readline()
        if not line:
            raise self._ended()
        return json.loads(line)

    def run(self, *argv, limit=ORDER_LIMIT, text=""):
        self.begin(*argv, limit=limit, text=text)
        return self.finish(limit)

    def begin(self, *argv, limit=ORDER_LIMIT, text=""):
        order = {"argv": [str(word) for word in argv], "input": text, "limit": limit}
        self._port.sendall(json.dumps(order).encode() + b"\n")

    def finish(self, limit=ORDER_LIMIT):
        return self._read(limit + 10)

    def begin_switch(self):
        self.begin(self._bench.zolvexctl, "switch", "--wait")

    def control(self, *arguments):
        return self.run(self._bench.zolvexctl, *arguments)

    def status(self):
        return json.loads(self.control("status", "--json")["output"] or "{}")

    def sees_peer(self):
        return any(peer["isActive"] for peer in self.status().get("registeredPeers", []))

    def has_link(self, device):
        """What its Bluetooth daemon says."""
        return "Connected: yes" in self.run("bluetoothctl", "info", device.address)["output"]

    def log(self):
        return (self.share / "zolvex.log").read_text()

    def key_presses(self):
        keys = self.share / "keys"
        return len(keys.read_text()) if keys.exists() else 0

    def cut_power(self):
        self._machine.cut_power()
        self._port.close()

    def stop(self):
        if self._machine:
            self._machine.cut_power()


def wait_until(condition, limit, what, pause=0.1):
    """`pause`: longer where looking keeps a machine from what is waited for."""
    deadline = time.monotonic() + limit
    while not condition():
        if time.monotonic() > deadline:
            raise AssertionError(f"{what}, {limit:.0f} s later")
        time.sleep(pause)
