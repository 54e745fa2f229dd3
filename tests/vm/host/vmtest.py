"""scripts/vm-test without its packages and its build: makes the machines' parts, runs scenarios in them, tells how it
went. See scripts/vm-test --help."""
import argparse
import ast
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile
import time

import cache
import radio
from conformance import compare
from downloads import Apt, DownloadError
from handover import run_handover
from kernel import CANDIDATES, Kernel
from machine import SHARE, Machine

CONFORMANCE, HANDOVER = "conformance", "handover"
STATUS_FAILED, STATUS_SKIPPED = 1, 77
RUN_LIMIT = 600.0
SELF_CHECK = "self_check"


def say(text):
    print(f"    {text}", flush=True)


def step(text):
    print(f"\n==> {text}", flush=True)


class Bench:
    """What all runs share: the parts in the cache, the place for logs, the program."""

    def __init__(self, options):
        self.options = options
        self.logs = cache.PROJECT / "build/vm-logs"
        shutil.rmtree(self.logs, ignore_errors=True)
        self.logs.mkdir(parents=True)
        self._work = tempfile.TemporaryDirectory(prefix="zolvex-vm-")
        self.work = pathlib.Path(self._work.name)  # short enough for the names of sockets
        self.root = "/"
        self.apt = Apt(cache.directory() / "apt")
        self.btvirt = radio.make_btvirt(self.apt)
        self.bridge = radio.make_bridge()

    def guest(self, program, *arguments, **variables):
        """The command line of one of the machine's scripts."""
        environment = [f"VM_ZOLVEX={self.options.zolvex}", f"VM_BRIDGE={self.bridge}"]
        environment += [f"{name}={value}" for name, value in variables.items()]
        return ["env", *environment, "/usr/bin/python3", cache.TESTS / "guest" / program, *arguments]

    def air(self, name):
        """A radio of its own, with its logs beside those of the machines."""
        logs = self.logs / name
        logs.mkdir(exist_ok=True)
        return radio.Radio(self.btvirt, pathlib.Path(tempfile.mkdtemp(dir=self.work)), logs)

    def close(self):
        self._work.cleanup()


def single_machine(bench, kernel, name, air, adapters=2):
    """A machine with two stand-ins in reach."""
    machine = Machine(name, kernel, bench.logs / name)
    for number in range(1, adapters + 1):
        machine.add_socket_port(f"radio-{number}", air.socket)
    for device in ("Keyboard", "Stranger"):
        machine.add_socket_port(device.lower(), air.add_device(device).control)
    return machine


def run_single(bench, kernel, name, command, interactive=False):
    """Its command's exit status, or None."""
    air = bench.air(name)
    try:
        machine = single_machine(bench, kernel, name, air)
        try:
            machine.start(command, interactive=interactive)
            return machine.wait(None if interactive else RUN_LIMIT)
        except subprocess.TimeoutExpired:
            say(f"the machine did not end within {RUN_LIMIT:.0f} s")
            return None
        finally:
            machine.stop()
    finally:
        air.stop()


def usable_kernel(bench):
    """The first kernel that can be had and passes the self-check, or None."""
    mark = cache.fingerprint(cache.TESTS / "radio/btvirt.patch", cache.TESTS / "guest/init")
    for package in CANDIDATES:
        kernel = Kernel(package)
        try:
            kernel.make(bench.apt)
        except DownloadError as error:
            say(f"{package}: {error}")
            continue
        if kernel.is_checked(mark):
            return kernel
        step(f"Is {package} fit for this?")
        shutil.rmtree(bench.logs / "self-check", ignore_errors=True)
        if run_single(bench, kernel, "self-check", bench.guest("run.py", SELF_CHECK)) == 0:
            kernel.note_checked(mark)
            return kernel
        say(f"{package} is not fit; the logs are in {bench.logs.relative_to(cache.PROJECT)}/self-check")
    return None


def scenario_names():
    return sorted(path.stem for path in (cache.TESTS / "scenarios").glob("*.py")) + [CONFORMANCE, HANDOVER]


def list_scenarios():
    for name in scenario_names():
        folder = "host" if name in (CONFORMANCE, HANDOVER) else "scenarios"
        file = cache.TESTS / folder / f"{name}.py"
        print(f"{name:14} {ast.get_docstring(ast.parse(file.read_text())).splitlines()[0]}")


def run_in_one_machine(bench, kernel, names):
    """How many passed, and how many failed; a machine that dies counts as one failure more."""
    step(f"A machine with the real bluetoothd: {', '.join(names)}")
    status = run_single(bench, kernel, "machine", bench.guest("run.py", *names))
    counts = bench.logs / "machine/counts"
    passed, failed = map(int, counts.read_text().split()) if counts.exists() else (0, 0)
    return passed, failed or int(status != 0)


def run_all(bench, kernel, names):
    passed = failed = 0
    single = [name for name in names if name not in (CONFORMANCE, HANDOVER)]
    if single:
        passed, failed = run_in_one_machine(bench, kernel, single)
    if CONFORMANCE in names:
        step("The lab beside the real bluetoothd")
        more = compare(bench, lambda: run_single(bench, kernel, CONFORMANCE, bench.guest("observe.py")), say)
        passed, failed = passed + more[0], failed + more[1]
    if HANDOVER in names:
        step("Two machines, one keyboard")
        more = run_handover(bench, kernel, say)
        passed, failed = passed + more[0], failed + more[1]
    return passed, failed


def absolute(path):
    """The machines see this computer's files under the same names, but have another working directory."""
    return pathlib.Path(path).resolve()


def parse(arguments):
    build = cache.PROJECT / "build/dev/src"
    parser = argparse.ArgumentParser(prog="scripts/vm-test")
    parser.add_argument("names", nargs="*")
    parser.add_argument("--shell", action="store_true")
    parser.add_argument("--list", action="store_true")
    parser.add_argument("--zolvex", type=absolute, default=build / "app/zolvex")
    parser.add_argument("--lab", type=absolute, default=cache.PROJECT / "build/dev/lab/zolvex-lab")
    parser.add_argument("--zolvexctl", type=absolute, default=build / "control/zolvexctl")
    return parser.parse_args(arguments)


def run(options):
    began = time.monotonic()
    bench = Bench(options)
    try:
        kernel = usable_kernel(bench)
        if not kernel:
            return skipped("no kernel that can be downloaded here passes the self-check")
        if options.shell:
            return run_single(bench, kernel, "shell", bench.guest("shell.py"), interactive=True) or 0
        names = options.names or [name for name in scenario_names() if name != SELF_CHECK]
        passed, failed = run_all(bench, kernel, names)
        step(f"{time.monotonic() - began:.0f} s; the logs are in {bench.logs.relative_to(cache.PROJECT)}")
        print(f"{passed} passed, {failed} failed, 0 skipped", flush=True)
        return STATUS_FAILED if failed or not passed else 0
    finally:
        bench.close()


def skipped(why):
    print(f"\nvm-test: skipped, for {why}\n0 passed, 0 failed, 1 skipped", flush=True)
    return STATUS_SKIPPED


def main():
    options = parse(sys.argv[1:])
    if options.list:
        list_scenarios()
        return 0
    signal.signal(signal.SIGTERM, signal.default_int_handler)  # ends like Ctrl-C: everything is stopped on the way out
    try:
        return run(options)
    except DownloadError as error:
        return skipped(f"something cannot be downloaded: {error}")
    except KeyboardInterrupt:
        print("\nvm-test: interrupted", file=sys.stderr)
        return 130


if __name__ == "__main__":
    sys.exit(main())
