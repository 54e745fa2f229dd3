"""Whether the machines run on the processor itself (KVM) or are emulated (TCG), which every computer can but which is
several times slower."""
import os
import pathlib
import subprocess

import cache
from processes import start_process, stop_process

BOOT = pathlib.Path("/proc/sys/kernel/random/boot_id")
PROBE_LIMIT = 8.0
ALIVE = "vm: alive"  # tests/vm/guest/init says so

_chosen = None


def choose_accelerator(kernel):
    """A /dev/kvm that exists may still not work, so a machine is started on it that only says that it lives.
    ZOLVEX_VM_ACCEL (kvm or tcg) decides otherwise."""
    global _chosen
    _chosen = os.environ.get("ZOLVEX_VM_ACCEL") or ("kvm" if is_known_to_work(kernel) else "tcg")
    return _chosen


def is_known_to_work(kernel):
    """Asked once for as long as this computer runs."""
    note = cache.directory() / "kvm"
    mark = cache.fingerprint(BOOT.read_text(), kernel.package)
    if not cache.is_made_from(note, mark):
        note.write_text("works" if kvm_works(kernel) else "does not work")
        cache.note_made_from(note, mark)
    return note.read_text() == "works"


def accelerator():
    return _chosen


def kvm_works(kernel):
    if not os.access("/dev/kvm", os.R_OK | os.W_OK):
        return False
    probe = start_process(
        [
            "qemu-system-x86_64", "-machine", "pc,accel=kvm", "-cpu", "max", "-m", "256",
            "-nodefaults", "-no-user-config", "-display", "none", "-no-reboot", "-serial", "stdio",
            "-kernel", kernel.image, "-initrd", kernel.initramfs,
            "-append", "console=ttyS0 quiet panic=-1 vm.probe",
        ],
        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, errors="replace",
    )  # fmt: skip
    try:
        return ALIVE in probe.communicate(timeout=PROBE_LIMIT)[0]
    except subprocess.TimeoutExpired:
        return False
    finally:
        stop_process(probe)
