"""A machine as a whole computer: network, Avahi, a session bus, Bluetooth, Zolvex. Then it does what it is told.

Orders come through the port "orders", one line of JSON each: {"argv": [...], "input": text, "limit": seconds}; the
answer is {"status": number, "output": text, "error": text, "seconds": number}, or {"status": null} when the limit was over. The keys that
are pressed on Bluetooth keyboards are counted in the shared file "keys".
"""
import contextlib
import glob
import json
import os
import pathlib
import struct
import subprocess
import threading
import time

from bluez import Bluez
from daemon import STORAGE, Adapter, Bluetoothd
from ports import port_path
from world import is_bluetooth

SHARE = pathlib.Path("/run/vm")
EVENT = struct.Struct("llHHi")
EV_KEY, PRESSED = 1, 1
KEYS_PAUSE = 0.2
AVAHI = """[server]
use-ipv4=yes
use-ipv6=no
enable-dbus=yes
[wide-area]
enable-wide-area=no
[publish]
publish-workstation=no
publish-hinfo=no
"""
# Without anything that it could start by itself.
SESSION_BUS = """<busconfig><type>session</type><listen>unix:path={bus}</listen>
<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/></policy>
</busconfig>
"""


def start(*argv, log, **options):
    with (SHARE / f"{log}.log").open("a") as output:
        return subprocess.Popen(argv, stdout=output, stderr=output, stdin=subprocess.DEVNULL, **options)


def start_network(address):
    subprocess.run(["ip", "address", "add", f"{address}/24", "dev", "eth0"], check=True)
    subprocess.run(["ip", "link", "set", "eth0", "up"], check=True)
    subprocess.run(["ip", "route", "add", "224.0.0.0/4", "dev", "eth0"], check=True)
    (SHARE / "avahi.conf").write_text(AVAHI)
    pathlib.Path("/run/avahi-daemon").mkdir(exist_ok=True)
    start("avahi-daemon", "-f", SHARE / "avahi.conf", "--no-drop-root", "--no-chroot", "--no-rlimits", log="avahi")


def start_bluetooth():
    """The bonds are kept in the shared directory: they outlive a power cut, as on a disk."""
    (SHARE / "bluetooth").mkdir(exist_ok=True)
    subprocess.run(["mount", "--bind", SHARE / "bluetooth", STORAGE], check=True)
    adapter = Adapter(1)
    adapter.plug_in()
    bluez = Bluez()
    Bluetoothd(bluez.is_on_bus).start()
    deadline = time.monotonic() + 20
    while not any(properties["Powered"] for properties in bluez.adapters().values()):
        if time.monotonic() > deadline:
            raise TimeoutError("the adapter is not powered")
        time.sleep(0.1)
    return adapter.address


def session_environment():
    runtime = pathlib.Path("/run/session")
    (runtime / "config/zolvex").mkdir(parents=True, mode=0o700)
    settings = SHARE / "settings.json"
    (runtime / "config/zolvex/settings.json").write_text(settings.read_text())
    bus = runtime / "bus"
    (runtime / "bus.conf").write_text(SESSION_BUS.format(bus=bus))
    subprocess.run(["dbus-daemon", "--fork", f"--config-file={runtime / 'bus.conf'}"], check=True)
    return {
        **os.environ,
        "DBUS_SESSION_BUS_ADDRESS": f"unix:path={bus}",
        "XDG_CONFIG_HOME": str(runtime / "config"),
        "XDG_RUNTIME_DIR": str(runtime),
    }


def count_keys():
    streams = {}
    while True:
        for path in set(glob.glob("/dev/input/event*")) - set(streams):
            with contextlib.suppress(OSError):  # it may be gone already
                if is_bluetooth(pathlib.Path("/sys/class/input", os.path.basename(path), "device")):
                    streams[path] = os.open(path, os.O_RDONLY | os.O_NONBLOCK)
        for path, stream in list(streams.items()):
            if not read_keys(stream):
                os.close(streams.pop(path))
        time.sleep(KEYS_PAUSE)


def read_keys(stream):
    """False when the keyboard is gone."""
    try:
        while data := os.read(stream, EVENT.size):
            _, _, kind, _, value = EVENT.unpack(data)
            if (kind, value) == (EV_KEY, PRESSED):
                with (SHARE / "keys").open("a") as keys:
                    keys.write("x")
    except BlockingIOError:
        return True
    except OSError:
        pass
    return False


def obey(order, environment):
    began = time.monotonic()
    try:
        done = subprocess.run(
            order["argv"], input=order.get("input", ""), capture_output=True, text=True,
            timeout=order.get("limit", 60), env=environment,
        )  # fmt: skip
        seconds = time.monotonic() - began
        return {"status": done.returncode, "output": done.stdout, "error": done.stderr, "seconds": seconds}
    except subprocess.TimeoutExpired:
        return {"status": None, "output": "", "error": "took too long"}


def main():
    start_network(os.environ["VM_ADDRESS"])
    adapter = start_bluetooth()
    environment = session_environment()
    threading.Thread(target=count_keys, daemon=True).start()
    start(os.environ["VM_ZOLVEX"], log="zolvex", env=environment)
    with open(port_path("orders"), "r+b", buffering=0) as port:
        port.write(json.dumps({"ready": adapter}).encode() + b"\n")
        held = b""
        while chunk := port.read(4096):
            held += chunk
            while b"\n" in held:
                line, _, held = held.partition(b"\n")
                port.write(json.dumps(obey(json.loads(line), environment)).encode() + b"\n")


if __name__ == "__main__":
    main()
