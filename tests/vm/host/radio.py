"""The air between the machines: btvirt on this computer, and the stand-in devices beside it.

btvirt gives each connection to its socket an adapter. A machine's adapter is a serial port of QEMU that leads to that
socket; a stand-in device is a process of its own.
"""
import json
import shutil
import socket
import subprocess
import sys
import time

from cache import TESTS, directory, fingerprint, is_made_from, note_made_from
from processes import start_process, stop_process

SOURCES = {
    "emulator": "main serial server vhci btdev bthost smp phy amp le",
    "src/shared": "queue util crypto ecc mainloop mainloop-notify io-mainloop timeout-mainloop",
    "lib": "bluetooth",
}
START_LIMIT, ORDER_LIMIT = 10.0, 10.0


def make_btvirt(apt):
    target = directory() / "btvirt"
    patch = TESTS / "radio/btvirt.patch"
    mark = fingerprint(patch)
    if is_made_from(target, mark):
        return target
    work = directory() / "btvirt-work"
    shutil.rmtree(work, ignore_errors=True)
    archive = apt.source("bluez", work)
    subprocess.run(["tar", "xf", archive, "--strip-components=1"], cwd=work, check=True)
    subprocess.run(["patch", "-p1", "-s", "-i", patch], cwd=work, check=True)
    (work / "config.h").touch()
    files = [f"{folder}/{name}.c" for folder, names in SOURCES.items() for name in names.split()]
    flags = ["-O1", "-w", "-D_GNU_SOURCE", '-DVERSION="patched"', "-I."]
    subprocess.run(["gcc", *flags, *files, "-o", target], cwd=work, check=True)
    shutil.rmtree(work)
    note_made_from(target, mark)
    return target


def make_bridge():
    """The program that a machine runs for each of its adapters; static, as the machine's root may be any Debian."""
    target = directory() / "bridge"
    source = TESTS / "radio/bridge.c"
    mark = fingerprint(source)
    if not is_made_from(target, mark):
        subprocess.run(["gcc", "-O2", "-Wall", "-Wextra", "-Werror", "-static", source, "-o", target], check=True)
        note_made_from(target, mark)
    return target


def wait_for(condition, limit, what):
    deadline = time.monotonic() + limit
    while not condition():
        if time.monotonic() > deadline:
            raise TimeoutError(what)
        time.sleep(0.02)


class StandIn:
    """A device of which no hardware exists; see tests/vm/radio."""

    def __init__(self, radio, name):
        self.name = name
        self.control = radio.directory / f"{name.replace(' ', '-')}.control"
        log = (radio.logs / f"{name.replace(' ', '-')}.log").open("w")
        program = [sys.executable, TESTS / "radio/keyboard.py", radio.socket, self.control, name]
        self._process = start_process(program, stdout=log, stderr=log)
        wait_for(self.control.exists, START_LIMIT, f"{name} does not start")
        wait_for(lambda: self.order("state")["address"], START_LIMIT, f"{name} gets no address")
        self.address = self.order("state")["address"]

    def order(self, line):
        with socket.socket(socket.AF_UNIX) as connection:
            connection.settimeout(ORDER_LIMIT)
            connection.connect(str(self.control))
            connection.sendall(line.encode() + b"\n")
            return json.loads(connection.makefile().readline())

    def stop(self):
        stop_process(self._process)


class Radio:
    def __init__(self, btvirt, run_directory, logs):
        self.directory, self.logs = run_directory, logs
        self.socket = run_directory / "radio"
        log = (logs / "btvirt.log").open("w")
        self._process = start_process(
            [btvirt, "-s"], env={"BTVIRT_SOCKET": str(self.socket)}, stdout=log, stderr=log
        )
        self._devices = []
        wait_for(self.socket.exists, START_LIMIT, "btvirt does not start")

    def add_device(self, name):
        self._devices.append(StandIn(self, name))
        return self._devices[-1]

    def stop(self):
        if self._process.poll() is not None:
            print(f"    the radio ended too early, with status {self._process.returncode}", flush=True)
        for device in self._devices:
            device.stop()
        stop_process(self._process)
