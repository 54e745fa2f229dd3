"""What a scenario has at hand in its machine: Bluetooth, a keyboard stand-in, the worker."""
import os
import pathlib
import subprocess
import time
from dataclasses import dataclass

from bluez import ADAPTER, Bluez
from daemon import Adapter, Bluetoothd, adapter_addresses
from ports import StandInPort, port_path
from pump import wait_until

BUS_BLUETOOTH = "0005"
WORKER_FLAG = "--zolvex-bluetooth-worker"
POWER_LIMIT, RELEASE_LIMIT, WORKER_LIMIT = 15.0, 10.0, 90.0


@dataclass
class WorkerRun:
    status: int
    output: str
    error: str
    seconds: float


class RunningWorker:
    """One run of the worker; `during` a call of it things may happen."""

    def __init__(self, command, address=None, adapter=None):
        environment = dict(os.environ)
        if adapter:
            environment["ZOLVEX_ADAPTER"] = adapter
        self._began = time.monotonic()
        self.process = subprocess.Popen(
            [os.environ["VM_ZOLVEX"], WORKER_FLAG, command],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, env=environment,
        )  # fmt: skip
        self.process.stdin.write(address or "")
        self.process.stdin.close()

    def kill(self):
        self.process.kill()
        self.process.wait()

    def finish(self, limit=WORKER_LIMIT):
        if not wait_until(lambda: self.process.poll() is not None, limit):
            self.kill()
            raise AssertionError(f"the worker did not end within {limit} s")
        seconds = time.monotonic() - self._began
        return WorkerRun(self.process.returncode, self.process.stdout.read(), self.process.stderr.read(), seconds)


class World:
    def __init__(self):
        self.adapters = [Adapter(number) for number in range(1, 9) if port_path(f"radio-{number}")]
        self.keyboard = StandInPort("keyboard")
        self.stranger = StandInPort("stranger")
        self.bluez = Bluez()
        self.daemon = Bluetoothd(self.bluez.is_on_bus)

    @property
    def adapter(self):
        """Path of the first adapter."""
        return self.bluez.adapter_path(self.adapters[0].address)

    def reset(self):
        """As after power-on: one adapter, an empty daemon, a keyboard that nobody knows. A daemon that nothing happened to
        is only emptied, which takes a fraction of the time."""
        for device in (self.keyboard, self.stranger):
            device.behave("normal")
            for order in ("drop", "forget", "name"):
                device.order(order)
        for number, adapter in enumerate(self.adapters):
            if adapter.is_plugged_in() and number > 0:
                adapter.unplug()
        if self.daemon.is_as_new and self.adapters[0].is_plugged_in():
            self._empty_daemon()
        else:
            self._start_anew()
        self.await_power(self.adapters[0])
        self.expect_within(RELEASE_LIMIT, lambda: not self.keyboard.state()["host"], "the keyboard is not free")

    def _empty_daemon(self):
        adapter = self.adapter
        self.bluez.set_property(adapter, ADAPTER, "Powered", True)
        self.bluez.set_property(adapter, ADAPTER, "Discoverable", False)
        for path in self.bluez.devices():
            answer = self.bluez.call(adapter, ADAPTER, "RemoveDevice", "o", path)
            assert not answer.error, f"RemoveDevice: {answer}"

    def _start_anew(self):
        self.daemon.stop()
        if not self.adapters[0].is_plugged_in():
            self.adapters[0].plug_in()
        self.daemon.start(wipe=True)

    def await_power(self, adapter):
        def is_powered():
            path = self.bluez.adapter_path(adapter.address)
            return path and self.bluez.adapters()[path]["Powered"]

        self.expect_within(POWER_LIMIT, is_powered, "the adapter is not powered")

    def expect_within(self, limit, condition, complaint):
        if not wait_until(condition, limit):
            raise AssertionError(f"{complaint}, {limit} s later")

    def worker(self, command, address=None, adapter=None):
        return RunningWorker(command, address, adapter).finish()

    def power(self, is_on, adapter=0):
        path = self.bluez.adapter_path(self.adapters[adapter].address)
        answer = self.bluez.set_property(path, ADAPTER, "Powered", is_on)
        assert not answer.error, f"power: {answer}"

    def pair_and_connect(self):
        """The keyboard is this machine's."""
        run = self.worker("connect", self.keyboard.address)
        assert run.status == 0, f"connect: {run}"
        assert self.keyboard.state()["serves"], "the keyboard serves nobody"

    def device(self):
        return self.bluez.device(self.adapter, self.keyboard.address)

    def input_devices(self):
        """The names of those that came over Bluetooth."""
        devices = pathlib.Path("/sys/class/input").glob("event*/device")
        return [(path / "name").read_text().strip() for path in devices if is_bluetooth(path)]


def is_bluetooth(input_device):
    return (input_device / "id/bustype").read_text().strip() == BUS_BLUETOOTH
