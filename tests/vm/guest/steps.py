"""The steps of a hand-over one by one, as the worker takes them and as somebody does who types into bluetoothctl. Writes
how many seconds each took, as JSON.

  steps.py worker|bluetoothctl take|remove ADDRESS
"""
import json
import os
import pty
import subprocess
import sys
import threading
import time

import dbus
import dbus.lowlevel

from pump import wait_until
from world import WORKER_FLAG

ANSWER_LIMIT, PROMPT = 30.0, b"# "


class CallTimes:
    """When somebody called the daemon's methods."""

    def __init__(self):
        self.times = {}
        self._bus = dbus.SystemBus(private=True)
        self._bus.set_exit_on_disconnect(False)
        self._bus.add_message_filter(self._filter)
        monitoring = self._bus.get_object("org.freedesktop.DBus", "/org/freedesktop/DBus", introspect=False)
        rule = "type='method_call',destination='org.bluez'"
        monitoring.BecomeMonitor(
            dbus.Array([rule], signature="s"), dbus.UInt32(0), dbus_interface="org.freedesktop.DBus.Monitoring"
        )

    def _filter(self, _, message):
        self.times[str(message.get_member())] = time.monotonic()
        return dbus.lowlevel.HANDLER_RESULT_HANDLED  # a monitor that answers is thrown out


def run_worker(command, address):
    calls, began = CallTimes(), time.monotonic()
    worker = subprocess.Popen(
        [os.environ["VM_ZOLVEX"], WORKER_FLAG, command], stdin=subprocess.PIPE, stdout=subprocess.DEVNULL
    )
    ends = []
    waiting = threading.Thread(target=lambda: (worker.communicate(address.encode()), ends.append(time.monotonic())))
    waiting.start()  # meanwhile this thread notes when the calls come
    assert wait_until(lambda: ends, ANSWER_LIMIT), "the worker does not end"
    ended = ends[0]
    assert worker.returncode == 0, f"{command}: {worker.returncode}"
    if command == "unregister":
        return {"remove": ended - began}
    assert wait_until(lambda: "Connect" in calls.times, ANSWER_LIMIT), "the worker did not call Connect"
    pair, connect = calls.times["Pair"], calls.times["Connect"]
    return {"discovery": pair - began, "pair": connect - pair, "connect": ended - connect}


class Bluetoothctl:
    """A session at a terminal."""

    def __init__(self):
        self._process, self._terminal = pty.fork()
        if self._process == 0:
            os.execvp("bluetoothctl", ["bluetoothctl"])
        self._await(b"Agent registered")
        # Not "scan bredr", which in BlueZ 5.66 sets no filter: it would look for LE devices first, for 5 s.
        for line in (b"menu scan", b"transport bredr", b"back"):
            os.write(self._terminal, line + b"\n")

    def _await(self, text):
        held, deadline = b"", time.monotonic() + ANSWER_LIMIT
        while text not in held:
            assert time.monotonic() < deadline and b"Failed" not in held, f"no {text} in {held}"
            held += os.read(self._terminal, 4096)

    def do(self, line, answer):
        """How many seconds until it answers so."""
        began = time.monotonic()
        os.write(self._terminal, line.encode() + b"\n")
        self._await(answer.encode())
        return time.monotonic() - began

    def end(self):
        os.write(self._terminal, b"quit\n")
        os.waitpid(self._process, 0)


def type_into_bluetoothctl(action, address):
    session = Bluetoothctl()
    if action == "remove":
        seconds = {"remove": session.do(f"remove {address}", "Device has been removed")}
    else:
        seconds = {"discovery": session.do("scan on", f"Device {address} ")}
        session.do("scan off", "Discovery stopped")
        seconds["pair"] = session.do(f"pair {address}", "Pairing successful")
        session.do(f"trust {address}", "trust succeeded")
        seconds["connect"] = session.do(f"connect {address}", "Connection successful")
    session.end()
    return seconds


def main(by, action, address):
    if by == "worker":
        seconds = run_worker({"take": "connect", "remove": "unregister"}[action], address)
    else:
        seconds = type_into_bluetoothctl(action, address)
    print(json.dumps(seconds))


if __name__ == "__main__":
    main(*sys.argv[1:])
