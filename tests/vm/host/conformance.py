"""The same observations on the lab's org.bluez and on the real bluetoothd, side by side.

Where the two differ the lab is wrong.
"""
import json
import re
import subprocess

from cache import PROJECT, TESTS
from counts import Counts
from processes import start_process, stop_process, time_limit

COMPUTER = "Laptop"
START_LIMIT, OBSERVATIONS_LIMIT = 60.0, 600.0

ANSWER_TO_WHO = re.compile(r"Magic Mouse: .*connected")

# The Debian whose daemon the lab imitates.
IMITATED = "bookworm"

# How the text of an observation begins that tells nothing; tests/vm/conformance/notes.py writes the latter two.
NOT_MADE, NOT_IMITATED, NOT_POSSIBLE = "not made", "not imitated", "cannot be observed"

PASSED, FAILED, SKIPPED = "passed", "failed", "skipped"


class LabError(Exception):
    """Nothing can be observed of it, or no more."""


class Lab:
    """A world of the lab that stays, and takes orders."""

    def __init__(self, program, zolvex, log):
        command = [program, "run", "--latency", "50", "--zolvex", zolvex]
        self.process = start_process(
            command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True
        )
        self._log = log
        self.world = None

    def start(self):
        with time_limit(START_LIMIT, self.process):
            self.world = self._read_world()

    def _read_world(self):
        for line in self.process.stdout:
            self._log.write(line)
            if found := re.search(r"exec --world (\d+)", line):
                return found.group(1)
        raise LabError("the lab does not start")

    def order(self, text):
        """Returns when it is obeyed: the question after it is answered then."""
        self.process.stdin.write(f"{text}\nwho\n")
        self.process.stdin.flush()
        for line in self.process.stdout:
            self._log.write(line)
            if ANSWER_TO_WHO.search(line):
                return
        raise LabError(f"the lab does not obey: {text}")

    def stop(self):
        stop_process(self.process)


def observe_lab(bench):
    with (bench.logs / "lab.log").open("a", buffering=1) as log:
        lab = Lab(bench.options.lab, bench.options.zolvex, log)
        try:
            lab.start()
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
        # The observer runs in the lab's world, and ends with it.
        with time_limit(OBSERVATIONS_LIMIT, lab.process, observer):
            return results_of(observer, lab)
    finally:
        stop_process(observer)


def results_of(observer, lab):
    for line in observer.stdout:
        kind, _, text = line.rstrip("\n").partition(" ")
        if kind == "RESULTS":
            return json.loads(text)["results"]
        if kind == "ORDER":
            lab.order(text)
            observer.stdin.write("done\n")
            observer.stdin.flush()
    raise LabError("the lab's observer has ended early, or was too slow")


class Observed:
    """What was seen by one run, kept beyond it: a report has a column for each daemon that was ever looked at."""

    def __init__(self, column, results):
        self.column, self.results = column, results

    @staticmethod
    def folder():
        path = PROJECT / "build/vm-observations"
        path.mkdir(parents=True, exist_ok=True)
        return path

    def keep(self):
        (self.folder() / f"{self.column}.json").write_text(json.dumps(self.results))

    @classmethod
    def kept(cls):
        return [cls(path.stem, json.loads(path.read_text())) for path in sorted(cls.folder().glob("*.json"))]

    def seen(self, name):
        """In words, and how long the calls took, in classes."""
        text, paces, _ = self.results.get(name, (NOT_MADE, "", 0))
        return text, paces

    def is_imitated(self, name):
        return not self.seen(name)[0].startswith(NOT_IMITATED)

    def was_possible(self, name):
        return not self.seen(name)[0].startswith((NOT_MADE, NOT_POSSIBLE))


def outcome_of(name, real, lab):
    """Only the daemon that the lab imitates can fail; of the others only their columns in the report are wanted. What
    fails alike on both sides has not been compared, so it has to succeed."""
    unlike = FAILED if real.column == IMITATED else SKIPPED
    if not real.was_possible(name):
        return unlike
    if not lab.is_imitated(name):
        return SKIPPED
    return PASSED if real.seen(name) == lab.seen(name) else unlike


def write_report(file, reference, columns, counts):
    with file.open("w") as report:
        report.write(f"{reference.column} beside the lab: {counts}\n\n")
        for name in reference.results:
            report.write(f"{name.replace('_', ' ')}\n")
            for observed in columns:
                text, paces = observed.seen(name)
                is_same = observed.seen(name) == reference.seen(name)
                verdict = "as above" if is_same and observed is not reference else f"{text} [{paces}]"
                report.write(f"    {observed.column:16} {verdict}\n")


def tell(outcomes, real, lab, say):
    """All that has not passed: what is different, and what is not compared, by its reason."""
    reasons = {}
    for name, outcome in outcomes.items():
        if outcome == SKIPPED and not lab.is_imitated(name):
            reasons.setdefault(lab.seen(name)[0], []).append(name)
        elif outcome != PASSED:
            mark = "FAIL " if outcome == FAILED else "other"
            say(f"{mark} conformance.{name}: {real.column} {real.seen(name)}, lab {lab.seen(name)}")
    for reason, names in reasons.items():
        say(f"{len(names)} not compared, {reason}: {', '.join(names)}")


def compare(bench, run_machine, say):
    """What is the same in the lab and in the machine has passed."""
    try:
        lab = Observed("lab", observe_lab(bench))
    except (LabError, OSError) as error:
        say(f"FAIL  conformance: {error}; see {bench.logs_name}/lab.log")
        return Counts(failed=1)
    run_machine()
    file = bench.logs / "conformance/observations.json"
    if not file.exists():
        say("FAIL  conformance: the machine has made no observations")
        return Counts(failed=1)
    real = Observed(bench.suite, json.loads(file.read_text())["results"])
    for observed in (lab, real):
        observed.keep()
    outcomes = {name: outcome_of(name, real, lab) for name in real.results | lab.results}
    counts = Counts(*(list(outcomes.values()).count(outcome) for outcome in (PASSED, FAILED, SKIPPED)))
    others = [kept for kept in Observed.kept() if kept.column not in (lab.column, real.column)]
    report = bench.logs / "conformance.txt"
    write_report(report, real, [real, *others, lab], counts)
    tell(outcomes, real, lab, say)
    say(f"{len(real.results)} observations: {counts}; the report is {report.relative_to(PROJECT)}")
    return counts
