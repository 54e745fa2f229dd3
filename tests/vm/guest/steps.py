"""The steps of a hand-over one by one, as the worker takes them, as somebody does who types into bluetoothctl, and as a
script does that starts bluetoothctl for each. Writes how many seconds each took, as JSON.

  steps.py worker|typed|scripted take|remove ADDRESS
"""
import json
import os
import pathlib
import pty
import subprocess
import sys
import time

import dbus

from bluez import AGENT_MANAGER
from world import WORKER_FLAG

ANSWER_LIMIT = 30.0
SCRIPT = pathlib.Path(__file__).with_name("scripted-steps")
AGENT_PATH = "/vm/agent"


class CallTimes:
    """When somebody called the daemon's methods. A program of its own, since ours would take the processor from those
    whose steps are measured."""

    def __init__(self):
        rule = "type='method_call',destination='org.bluez'"
        self._monitor = subprocess.Popen(
            ["dbus-monitor", "--system", "--profile", rule], stdout=subprocess.PIPE, text=True
        )
        # It writes down its own coming to the bus, and the loss of its name as soon as it is a monitor.
        while "NameLost" not in self._line():
            pass

    def _line(self):
        line = self._monitor.stdout.readline()
        assert line, "the monitor has ended"
        return line

    def await_all(self, *members):
        """When each was called; of several calls the last one before all of them had been called."""
        times = {}
        while not times.keys() >= set(members):
            fields = self._line().split()
            if fields[0] == "mc":
                times[fields[-1]] = float(fields[1])
        return [times[member] for member in members]

    def end(self):
        self._monitor.kill()
        self._monitor.wait()


def run_worker(command, address):
    """When it began, and when it ended."""
    began = time.time()
    worker = [os.environ["VM_ZOLVEX"], WORKER_FLAG, command]
    done = subprocess.run(worker, input=address.encode(), stdout=subprocess.DEVNULL, timeout=ANSWER_LIMIT)
    assert done.returncode == 0, f"{command}: {done.returncode}"
    return began, time.time()


def take_by_worker(action, address):
    if action == "remove":
        began, ended = run_worker("unregister", address)
        return {"remove": ended - began}
    calls = CallTimes()
    try:
        began, ended = run_worker("connect", address)
        pair, connect = calls.await_all("Pair", "Connect")
        return {"discovery": pair - began, "pair": connect - pair, "connect": ended - connect}
    finally:
        calls.end()


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


def run_script(action, address):
    register_agent()
    script = [SCRIPT, action, address]
    done = subprocess.run(script, stdout=subprocess.PIPE, text=True, timeout=ANSWER_LIMIT, check=True)
    return {step: int(microseconds) / 1e6 for step, microseconds in map(str.split, done.stdout.splitlines())}


def register_agent():
    """The desktop's: without one, pairing makes no bond, and bluetoothctl 5.66 registers its own only for somebody who
    types. It is never called, for the keyboard asks nothing."""
    manager = dbus.SystemBus().get_object("org.bluez", "/org/bluez", introspect=False)
    manager.RegisterAgent(dbus.ObjectPath(AGENT_PATH), "NoInputNoOutput", dbus_interface=AGENT_MANAGER)
    manager.RequestDefaultAgent(dbus.ObjectPath(AGENT_PATH), dbus_interface=AGENT_MANAGER)


WAYS = {"worker": take_by_worker, "typed": type_into_bluetoothctl, "scripted": run_script}


def main(way, action, address):
    print(json.dumps(WAYS[way](action, address)))


if __name__ == "__main__":
    main(*sys.argv[1:])
