"""One QEMU machine. It has this computer's root (or another directory) as its own, with a layer in memory above it, and
a directory that it shares with us. Everything it writes elsewhere is gone when it ends."""
import pathlib
import shlex
import shutil
import subprocess

from accelerator import accelerator
from cache import PROJECT
from processes import kill_process, start_process, stop_process, time_limit

SHARE = "/run/vm"  # where the machine sees the shared directory; tests/vm/guest knows it too


class Machine:
    def __init__(self, name, bench, kernel, share, memory=512):
        self.name, self.share, self.memory = name, pathlib.Path(share), memory
        self._kernel, self._root, self._bridge = kernel, bench.root, bench.bridge
        self._devices = []
        self._process = None
        self.share.mkdir(parents=True, exist_ok=True)

    def add_port(self, name, backend):
        """A serial port; the machine finds it by its name. `backend`: see -chardev of QEMU."""
        number = len(self._devices)
        self._devices += [
            "-chardev", f"{backend},id=port{number}",
            "-device", f"virtserialport,chardev=port{number},name={name}",
        ]  # fmt: skip

    def add_socket_port(self, name, path):
        self.add_port(name, f"socket,path={path}")

    def add_network(self, own_socket, other_socket, hardware_address):
        """A cable to one other machine. Datagrams: either end may be switched off and on."""
        self._devices += [
            "-netdev", f"dgram,id=cable,local.type=unix,local.path={own_socket},"
                       f"remote.type=unix,remote.path={other_socket}",
            "-device", f"virtio-net-pci,netdev=cable,mac={hardware_address},romfile=",
        ]  # fmt: skip

    def start(self, command, output=subprocess.PIPE):
        """Starts it; it runs `command` as root and ends. What the command writes goes to `output`: by default to
        `lines`; with None the command has our own terminal."""
        for leftover in ("status", "ready"):
            (self.share / leftover).unlink(missing_ok=True)
        (self.share / "command").write_text(f"exec {shlex.join(str(word) for word in command)}\n")
        shutil.copy(self._bridge, self.share / "bridge")  # the root need not have it
        name, source = shlex.quote(self.name), shlex.quote(str(PROJECT))
        (self.share / "environment").write_text(f"VM_NAME={name}\nVM_SOURCE={source}\n")
        if output is None:
            self._process = start_process(self._command_line("off"), has_terminal=True)
            return
        errors = (self.share / "qemu.log").open("w")
        self._process = start_process(
            self._command_line("on"), stdout=output, stderr=errors, text=True, errors="replace"
        )

    def lines(self, limit):
        """Until it ends, which it does at the latest when `limit` seconds are over."""
        with time_limit(limit, self._process):
            yield from self._process.stdout

    def _command_line(self, signals):
        return [
            "qemu-system-x86_64", "-machine", f"pc,accel={accelerator()}", "-cpu", processor(),
            "-smp", "1", "-m", self.memory, "-nodefaults", "-no-user-config", "-display", "none", "-no-reboot",
            "-kernel", self._kernel.image, "-initrd", self._kernel.initramfs,
            "-append", f"console=ttyS0 quiet panic=-1 random.trust_cpu=on mitigations=off {address_layout()}",
            *share_arguments("root", self._root, "on"),
            *share_arguments("source", PROJECT, "on"),
            *share_arguments("share", self.share, "off"),
            "-serial", f"file:{self.share / 'kernel.log'}",
            "-chardev", f"stdio,id=console,signal={signals}", "-serial", "chardev:console",
            "-device", "virtio-serial-pci", *self._devices,
        ]  # fmt: skip

    def is_running(self):
        return self._process is not None and self._process.poll() is None

    def wait(self):
        """The exit status of its command; None when it ended otherwise."""
        self._process.wait()
        status = self.share / "status"
        return int(status.read_text()) if status.exists() and status.read_text().strip() else None

    def cut_power(self):
        if self._process:
            kill_process(self._process)

    def stop(self):
        if self._process:
            stop_process(self._process)


def processor():
    """An emulated one is the slower the more it can."""
    return "max" if accelerator() == "kvm" else "qemu64"


def share_arguments(tag, path, is_read_only):
    path = str(path).replace(",", ",,")  # as QEMU wants it
    return [
        "-fsdev", f"local,id={tag},path={path},security_model=none,readonly={is_read_only},multidevs=remap",
        "-device", f"virtio-9p-pci,fsdev={tag},mount_tag={tag}",
    ]  # fmt: skip


def address_layout():
    """An emulator translates a program anew wherever its code lies. At random places that is every time it starts, and
    takes twice as long as the start itself."""
    return "" if accelerator() == "kvm" else "norandmaps"
