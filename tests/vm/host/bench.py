"""What all runs share: the parts of the machines, the program, the place for logs; and what it says meanwhile."""
import pathlib
import platform
import shutil
import tempfile
import threading

import cache
import radio
from downloads import Apt

_speech = threading.Lock()


def say(text):
    with _speech:
        print(f"    {text}", flush=True)


def step(text):
    with _speech:
        print(f"\n==> {text}", flush=True)


def release_name():
    """Of the Debian that this computer runs."""
    return platform.freedesktop_os_release().get("VERSION_CODENAME", "this computer")


class Bench:
    def __init__(self, options):
        self.options = options
        self.logs = cache.PROJECT / "build/vm-logs"
        shutil.rmtree(self.logs, ignore_errors=True)
        self.logs.mkdir(parents=True)
        self._work = tempfile.TemporaryDirectory(prefix="zolvex-vm-")
        self.work = pathlib.Path(self._work.name)  # short enough for the names of sockets
        self.suite = options.suite or release_name()
        self.root = cache.directory() / f"root-{options.suite}" if options.suite else "/"
        self.apt = Apt(cache.directory() / "apt")
        self.btvirt = radio.make_btvirt(self.apt)
        self.bridge = radio.make_bridge()

    @property
    def logs_name(self):
        return self.logs.relative_to(cache.PROJECT)

    @property
    def zolvex(self):
        """Where the machines have it."""
        return "/srv/build/src/app/zolvex" if self.options.suite else self.options.zolvex

    @property
    def zolvexctl(self):
        return "/srv/build/src/control/zolvexctl" if self.options.suite else self.options.zolvexctl

    def guest(self, program, *arguments, **variables):
        """The command line of one of the machine's scripts."""
        environment = [f"VM_ZOLVEX={self.zolvex}"]
        environment += [f"{name}={value}" for name, value in variables.items()]
        return ["env", *environment, "/usr/bin/python3", cache.TESTS / "guest" / program, *arguments]

    def air(self, name):
        """A radio of its own, with its logs beside those of the machines."""
        logs = self.logs / name
        logs.mkdir(exist_ok=True)
        return radio.Radio(self.btvirt, pathlib.Path(tempfile.mkdtemp(dir=self.work)), logs)

    def close(self):
        self._work.cleanup()
