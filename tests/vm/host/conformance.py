"""The same observations on the lab's org.bluez and on the real bluetoothd, side by side.

Where the two differ the lab is wrong, unless the difference is listed in KNOWN with its reason.
"""
import json
import re
import subprocess

from cache import TESTS
from processes import start_process, stop_process

COMPUTER = "Laptop"
START_LIMIT = 60.0

# What the lab cannot or need not imitate; docs/lab.md says so, too.
KNOWN = {}


class Lab:
    """A world of the lab that stays, and takes orders."""

    def __init__(self, program, zolvex, log):
        command = [program, "run", "--latency", "50", "--zolvex", zolvex]
        self._process = start_process(
            command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True
        )
        self._log = log
        self.world = self._read_world()

    def _read_world(self):
        for line in self._process.stdout:
            self._log.write(line)
            if found := re.search(r"exec --world (\d+)", line):
                return found.group(1)
        raise RuntimeError("the lab does not start; see lab.log")

    def order(self, text):
        self._process.stdin.write(text + "\n")
        self._process.stdin.flush()

    def stop(self):
        stop_process(self._process)


def observe_lab(bench):
    with (bench.logs / "lab.log").open("a", buffering=1) as log:
        lab = Lab(bench.options.lab, bench.options.zolvex, log)
        try:
            return converse(bench, lab, log)
        finally:
            lab.stop()


def converse(bench, lab, log):
    """Passes the orders of the observer on to the lab, until it has its results."""
    script = ["env", f"LAB_COMPUTER={COMPUTER}", "/usr/bin/python3", TESTS / "guest/observe.py"]
    observer = start_process(
        [bench.options.lab, "exec", "--world", lab.world, COMPUTER, "--", *script],
        stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=log, text=True,
    )  # fmt: skip
    try:
        for line in observer.stdout:
            kind, _, text = line.rstrip("\n").partition(" ")
            if kind == "RESULTS":
                return json.loads(text)["results"]
            if kind == "ORDER":
                lab.order(text)
                observer.stdin.write("done\n")
                observer.stdin.flush()
        return {}
    finally:
        stop_process(observer)


def write_report(file, real, lab):
    with file.open("w") as report:
        for name in real | lab:
            seen = real.get(name, ("not made", 0)), lab.get(name, ("not made", 0))
            verdict = "same" if seen[0][0] == seen[1][0] else "known" if name in KNOWN else "DIFFERENT"
            report.write(f"{name.replace('_', ' ')}: {verdict}\n")
            for who, (what, seconds) in zip(("bluetoothd", "lab"), seen):
                report.write(f"    {who:10} {seconds:5.1f} s  {what}\n")
            if name in KNOWN:
                report.write(f"    {KNOWN[name]}\n")


def compare(bench, run_machine, say):
    """How many observations were the same (or differ as is known), and how many were not."""
    lab = observe_lab(bench)
    run_machine()
    results = bench.logs / "conformance/observations.json"
    real = json.loads(results.read_text())["results"] if results.exists() else {}
    report = bench.logs / "conformance.txt"
    write_report(report, real, lab)
    passed = failed = 0
    for name in real | lab:
        is_same = name in real and name in lab and real[name][0] == lab[name][0]
        if is_same or name in KNOWN:
            passed += 1
        else:
            failed += 1
            say(f"FAIL  conformance.{name}: bluetoothd {real.get(name)}, lab {lab.get(name)}")
    say(f"{len(real | lab)} observations; the report is {report}")
    return passed, failed or int(not real)
