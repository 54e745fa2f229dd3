"""The machine's Bluetooth: its adapters, and bluetoothd."""
import fcntl
import os
import pathlib
import shutil
import signal
import socket
import struct
import subprocess
import time

from ports import port_path

PLACES = ("/usr/libexec/bluetooth/bluetoothd", "/usr/lib/bluetooth/bluetoothd")
STORAGE = pathlib.Path("/var/lib/bluetooth")
LOG = pathlib.Path("/run/vm/bluetoothd.log")
BRIDGE = "/run/vm/bridge"
START_LIMIT, STOP_LIMIT = 30.0, 5.0
GET_DEVICE = 0x800448D3
RESET_COMMAND, RESET_ANSWER = b"\x01\x03\x0c\x00", b"\x03\x0c\x00"


def poll(condition, limit, what):
    deadline = time.monotonic() + limit
    while not (found := condition()):
        if time.monotonic() > deadline:
            raise TimeoutError(what)
        time.sleep(0.05)
    return found


def adapter_addresses():
    """Number -> address of the kernel's adapters that have one."""
    addresses = {}
    with socket.socket(socket.AF_BLUETOOTH, socket.SOCK_RAW, socket.BTPROTO_HCI) as hci:
        for folder in pathlib.Path("/sys/class/bluetooth").glob("hci*"):
            if not folder.name[3:].isdigit():
                continue
            record = bytearray(struct.pack("<H90x", int(folder.name[3:])))
            try:
                fcntl.ioctl(hci, GET_DEVICE, record)
            except OSError:
                continue
            octets = bytes(record[10:16])
            if any(octets):
                addresses[int(folder.name[3:])] = ":".join(f"{octet:02X}" for octet in reversed(octets))
    return addresses


class Adapter:
    """There is one in the machine for as long as a bridge carries its packets to the radio."""

    def __init__(self, number):
        self._port = port_path(f"radio-{number}")
        self._bridge = None
        self.address = None

    def plug_in(self):
        before = set(adapter_addresses().values())
        self._bridge = subprocess.Popen([BRIDGE, self._port])
        new = poll(lambda: set(adapter_addresses().values()) - before, START_LIMIT, "the kernel finds no adapter")
        self.address = new.pop()

    def is_plugged_in(self):
        return self._bridge is not None

    def unplug(self):
        self._bridge.kill()
        self._bridge.wait()
        self._bridge = None
        self._end_links()
        poll(lambda: self.address not in adapter_addresses().values(), START_LIMIT, "the adapter does not go")

    def _end_links(self):
        """The radio must not believe that the adapter is still there: resets it, and takes the answer."""
        port = os.open(self._port, os.O_RDWR)
        os.write(port, RESET_COMMAND)
        held = b""
        while not held.endswith(RESET_ANSWER):
            held += os.read(port, 4096)
        os.close(port)


class Bluetoothd:
    def __init__(self, is_on_bus):
        self._is_on_bus = is_on_bus
        self._process = None
        self._log = LOG.open("a")
        self.is_as_new = False  # nothing happened to it since it has started with empty storage

    def start(self, wipe=False):
        if wipe:
            for folder in STORAGE.iterdir():
                shutil.rmtree(folder) if folder.is_dir() else folder.unlink()
        program = next(place for place in PLACES if os.path.exists(place))
        self._process = subprocess.Popen([program, "-n", "-d"], stdout=self._log, stderr=self._log)
        poll(self._is_on_bus, START_LIMIT, "bluetoothd does not come to the bus")
        self.is_as_new = wipe

    def is_running(self):
        return self._process is not None

    def own_end(self):
        """How it ended without having been told to; None if it did not."""
        status = self._process.poll() if self._process else None
        if status is None:
            return None
        return f"status {status}" if status >= 0 else signal.Signals(-status).name

    def distrust(self):
        """After a failure, for example, it may be in any state."""
        self.is_as_new = False

    def stop(self):
        self.distrust()
        if not self._process:
            return
        self._process.terminate()
        try:
            self._process.wait(STOP_LIMIT)
        except subprocess.TimeoutExpired:
            self.kill()
        self._process = None

    def kill(self):
        """As when it crashes."""
        self.distrust()
        if not self._process:
            return
        self._process.kill()
        self._process.wait()
        self._process = None

    def signal(self, number):
        self.distrust()
        self._process.send_signal(number)
