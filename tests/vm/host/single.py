"""One machine with adapters and two stand-ins in reach, in which a command runs."""
from contextlib import contextmanager

from bench import say
from machine import Machine

ADAPTERS = 2
RUN_LIMIT = 600.0


@contextmanager
def single_machine(bench, kernel, name):
    air = bench.air(name)
    machine = Machine(name, bench, kernel, bench.logs / name)
    try:
        for number in range(1, ADAPTERS + 1):
            machine.add_socket_port(f"radio-{number}", air.socket)
        for device in ("Keyboard", "Stranger"):
            machine.add_socket_port(device.lower(), air.add_device(device).control)
        yield machine
    finally:
        machine.stop()
        air.stop()


def run_single(bench, kernel, name, command):
    """Its command's exit status, or None; what it writes is shown."""
    with single_machine(bench, kernel, name) as machine:
        machine.start(command)
        with (machine.share / "console.log").open("w") as log:
            for line in machine.lines(RUN_LIMIT):
                log.write(line)
                say(line.strip())
        return machine.wait()


def run_shell(bench, kernel):
    with single_machine(bench, kernel, "shell") as machine:
        machine.start(bench.guest("shell.py"), output=None)
        return machine.wait()
