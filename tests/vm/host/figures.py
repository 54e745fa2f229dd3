"""How long the steps of a hand-over take, and a whole one: medians, beside bluetoothctl. Not among all scenarios.

Whoever takes the steps does so in turn, in every round anew, and a whole hand-over belongs to each round, too: what else
the computer does meanwhile slows all of them down alike.
"""
import json
import re
import statistics
from datetime import datetime

from counts import Counts
from handover import Handover

ROUNDS = 10
STEPS = ("discovery", "pair", "connect", "remove")
TYPED, SCRIPTED, WORKER = "typed", "scripted", "worker"
WAYS = (TYPED, SCRIPTED, WORKER)
LIMIT = 1.1  # of the scripted steps

# What the program logs of a switch, in this order, and what it has done by then.
BEGIN = "Connect: starting"
MOMENTS = (
    ("Connected to peer, sending PLEASE_RELEASE", "reaching the peer"),
    ("Client got response", "the peer's release"),
    ("Connect: pairing + connecting", "taking note of it"),
    (": SUCCESS Keyboard", "the worker's connect"),
    ("Connect: SUCCESS", "success"),
)
CLOCK = re.compile(r"(\d\d:\d\d:\d\d\.\d{3}) \w+ (.*)")


def switches_in(log):
    """For each switch that went through: what was done -> how many seconds it took."""
    taken, last = None, None
    for clock, text in CLOCK.findall(log):
        now = datetime.strptime(clock, "%H:%M:%S.%f")
        if BEGIN in text:
            taken, last = {}, now
            continue
        if taken is None or MOMENTS[len(taken)][0] not in text:
            continue
        taken[MOMENTS[len(taken)][1]] = (now - last).total_seconds()
        last = now
        if len(taken) == len(MOMENTS):
            yield taken
            taken = None


def of_steps(whole, totals):
    return ", ".join(f"{whole / totals[way]:.2f} of the steps {way}" for way in (TYPED, SCRIPTED)) + (
        f", {whole / totals[WORKER]:.2f} of the worker's own"
    )


class Figures:
    def __init__(self, bench, kernel, air, say):
        self._bench, self._say = bench, say
        self._handover = Handover(bench, kernel, air, say)
        self._seconds = {way: {step: [] for step in STEPS} for way in WAYS}

    def measure(self):
        """Whether a whole hand-over takes no longer than it may."""
        self._handover.switch_on(*self._handover.computers)
        for number in range(ROUNDS):
            self._round(self._handover.computers[number % 2])
        totals = self._report_steps()
        holds = self._report_parts(totals)
        self._report_switch(totals)
        return holds

    def _round(self, owner):
        """Nobody has the keyboard before and after it."""
        for way in (TYPED, SCRIPTED):
            self._take_step(owner, way, "take")
            self._take_step(owner, way, "remove")
        self._take_step(owner, WORKER, "take")
        other = self._handover.other(owner)
        self._handover.take(other)
        self._take_step(other, WORKER, "remove")

    def _take_step(self, computer, way, action):
        script = self._bench.guest("steps.py", way, action, self._handover.keyboard.address)
        done = computer.run(*script)
        assert done["status"] == 0, f"{computer.name}: {done}"
        for step, took in json.loads(done["output"].splitlines()[-1]).items():
            self._seconds[way][step].append(took)
        if action == "take":
            assert self._handover.holder() is computer, f"{computer.name} has taken the keyboard, {way}, and has it not"

    def _report_steps(self):
        """Way -> how many seconds all its steps take together."""
        medians = {way: {step: statistics.median(all_) for step, all_ in self._seconds[way].items()} for way in WAYS}
        totals = {way: sum(medians[way].values()) for way in WAYS}
        self._say(f"{'step':12} " + " ".join(f"{way:>10}" for way in WAYS))
        for step in STEPS:
            self._say(f"{step:12} " + " ".join(f"{medians[way][step]:8.3f} s" for way in WAYS))
        self._say(f"{'all steps':12} " + " ".join(f"{totals[way]:8.3f} s" for way in WAYS))
        return totals

    def _report_parts(self, totals):
        """Whether it holds what is asked for."""
        switches = [switch for computer in self._handover.computers for switch in switches_in(computer.log())]
        self._say(f"a whole hand-over, as the application logs it, {len(switches)} times:")
        for _, what in MOMENTS:
            self._say(f"{what:24} {statistics.median(switch[what] for switch in switches):8.3f} s")
        whole = statistics.median(sum(switch.values()) for switch in switches)
        self._say(f"from click to success {whole:.3f} s: {of_steps(whole, totals)}")
        holds = whole <= LIMIT * totals[SCRIPTED]
        self._say(f"{'ok   ' if holds else 'FAIL '} figures: at most {LIMIT} of the scripted steps")
        return holds

    def _report_switch(self, totals):
        whole = statistics.median(self._handover.durations)
        self._say(f"zolvexctl switch --wait {whole:.3f} s: {of_steps(whole, totals)}")

    def stop(self):
        self._handover.stop()


def run_figures(bench, kernel, say):
    """The one thing that is asked for, of a whole hand-over; the other figures are only told."""
    air = bench.air("handover")
    figures = None
    try:
        figures = Figures(bench, kernel, air, say)
        return Counts(passed=1) if figures.measure() else Counts(failed=1)
    except (AssertionError, EOFError, OSError, TimeoutError) as error:
        say(f"FAIL  figures: {error}")
        return Counts(failed=1)
    finally:
        if figures:
            figures.stop()
        air.stop()
