"""The serial ports that lead out of a machine, by the names that the host gave them."""
import json
import os
import pathlib
import select
import threading

ORDER_LIMIT = 10.0


def port_path(name):
    """Its device file, or None."""
    for port in pathlib.Path("/sys/class/virtio-ports").glob("*"):
        if (port / "name").exists() and (port / "name").read_text().strip() == name:
            return f"/dev/{port.name}"
    return None


class StandInPort:
    """A stand-in device, which takes orders: one line each, answered by one line of JSON."""

    def __init__(self, name):
        self._port = os.open(port_path(name), os.O_RDWR)
        self._lock = threading.Lock()
        self.address = self.order("state")["address"]

    def order(self, line):
        with self._lock:
            os.write(self._port, line.encode() + b"\n")
            return json.loads(self._line())

    def _line(self):
        held = b""
        while not held.endswith(b"\n"):
            if not select.select([self._port], [], [], ORDER_LIMIT)[0]:
                raise TimeoutError("the stand-in does not answer")
            held += os.read(self._port, 4096)
        return held

    def behave(self, behaviour):
        self.order(f"behave {behaviour}")

    def state(self):
        return self.order("state")
