"""How long the steps of a hand-over take, and a whole one: medians, beside bluetoothctl. Not among all scenarios."""
import json
import re
import statistics
from datetime import datetime

from handover import Handover

ROUNDS = 10
STEPS = ("discovery", "pair", "connect", "remove")

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


class Figures:
    def __init__(self, bench, kernel, air, say):
        self._bench, self._say = bench, say
        self._handover = Handover(bench, kernel, air, say)

    def measure(self):
        handover = self._handover
        handover.switch_on(*handover.computers)
        by_hand, by_worker = self._steps("bluetoothctl"), self._steps("worker")
        handover.there_and_back()
        self._report(by_hand, by_worker, statistics.median(handover.durations))
        self._report_parts(sum(by_hand.values()), sum(by_worker.values()))

    def _steps(self, who):
        """Step -> its median, while the keyboard goes from one computer to the other and back."""
        seconds = {step: [] for step in STEPS}
        for number in range(ROUNDS):
            computer = self._handover.computers[number % 2]
            for action in ("take", "remove"):
                for step, took in self._take_step(computer, who, action).items():
                    seconds[step].append(took)
        return {step: statistics.median(all_) for step, all_ in seconds.items()}

    def _take_step(self, computer, who, action):
        script = self._bench.guest("steps.py", who, action, self._handover.keyboard.address)
        done = computer.run(*script)
        assert done["status"] == 0, f"{computer.name}: {done}"
        return json.loads(done["output"].splitlines()[-1])

    def _report(self, by_hand, by_worker, whole):
        self._say("step        bluetoothctl   worker")
        for step in STEPS:
            self._say(f"{step:12} {by_hand[step]:8.3f} s {by_worker[step]:8.3f} s")
        total, ours = sum(by_hand.values()), sum(by_worker.values())
        self._say(f"{'all steps':12} {total:8.3f} s {ours:8.3f} s")
        self._say(f"a whole hand-over {whole:.3f} s: {whole / total:.2f} of bluetoothctl's steps, {whole / ours:.2f} of ours")

    def _report_parts(self, total, ours):
        switches = [switch for computer in self._handover.computers for switch in switches_in(computer.log())]
        self._say(f"the application's part of it, {len(switches)} times:")
        for _, what in MOMENTS:
            self._say(f"{what:24} {statistics.median(switch[what] for switch in switches):8.3f} s")
        whole = statistics.median(sum(switch.values()) for switch in switches)
        self._say(f"from click to success {whole:.3f} s: {whole / total:.2f} of bluetoothctl's steps, {whole / ours:.2f} of ours")

    def stop(self):
        self._handover.stop()


def run_figures(bench, kernel, say):
    """How many passed, and how many failed: there is nothing that could fail but the measuring itself."""
    air = bench.air("handover")
    figures = None
    try:
        figures = Figures(bench, kernel, air, say)
        figures.measure()
        return 1, 0
    except (AssertionError, EOFError, OSError, TimeoutError) as error:
        say(f"FAIL  figures: {error}")
        return 0, 1
    finally:
        if figures:
            figures.stop()
        air.stop()
