"""A world of the lab, each of whose computers has a desktop (desktop.py)."""
import json
import pathlib
import re
import select
import signal
import subprocess
import threading

HERE = pathlib.Path(__file__).resolve().parent
PYTHON = "/usr/bin/python3"  # the one that has Debian's modules

# Seconds.
START_LIMIT = 60
ANSWER_LIMIT = 150  # longer than any wait of desktop.py
END_LIMIT = 20


class WorldError(Exception):
    """The world did not do what it was told."""


def start_process(command):
    """One that ends with this program, however that ends, and to which an interrupt from the keyboard does not go."""
    return subprocess.Popen(["setpriv", "--pdeathsig", "KILL", "--", *command], stdin=subprocess.PIPE,
                            stdout=subprocess.PIPE, text=True, bufsize=1, start_new_session=True)


def read_line(process, limit):
    """The next line of its output; raises when there is none in time."""
    ready, _, _ = select.select([process.stdout], [], [], limit)
    line = process.stdout.readline() if ready else ""
    if not line:
        raise WorldError(f"{' '.join(process.args[4:])}: {'ended' if ready else f'silent for {limit} s'}")
    return line


class Computer:
    """One of them, by its desktop: every command of desktop.py is a method."""

    def __init__(self, world, name, scale):
        self.name = name
        self._process = start_process(world.command_on(name, PYTHON, "-B", HERE / "desktop.py", scale))
        self._answer("start")

    def _answer(self, command):
        answer = json.loads(read_line(self._process, ANSWER_LIMIT))
        if "error" in answer:
            raise WorldError(f"{self.name}: {command}: {answer['error']}")
        return answer["answer"]

    def __getattr__(self, command):
        def call(*arguments):
            self._process.stdin.write(json.dumps([command, *arguments]) + "\n")
            return self._answer(command)

        return call

    def shut_down(self):
        self._process.stdin.close()
        try:
            self._process.wait(END_LIMIT)
        except subprocess.TimeoutExpired:
            self._process.kill()
            self._process.wait()


class World:
    """Laptop and Studio. Whatever was started in it ends with it."""

    def __init__(self, build, log, scale):
        self._lab = str(build / "lab/zolvex-lab")
        self._log = log.open("w")
        self._process = start_process([self._lab, "run"])
        self.computers = {}
        try:
            self._number = self._wait_for_number()
            self._reader = threading.Thread(target=self._keep_log, daemon=True)
            self._reader.start()
            for name in ("Studio", "Laptop"):
                self.computers[name] = Computer(self, name, scale)
        except BaseException:
            self.end()
            raise

    def _wait_for_number(self):
        """What it is called by those who want to enter it; told once it is complete."""
        while True:
            line = read_line(self._process, START_LIMIT)
            self._log.write(line)
            found = re.search(r"exec --world (\d+)", line)
            if found:
                return found.group(1)

    def _keep_log(self):
        for line in self._process.stdout:
            self._log.write(line)

    def command_on(self, computer, *command):
        return [self._lab, "exec", "--world", self._number, computer, "--", *(str(word) for word in command)]

    def fault(self, *faults):
        for fault in faults:
            self._process.stdin.write(f"fault {fault}\n")

    def lift(self):
        self._process.stdin.write("lift\n")

    def end(self):
        for computer in self.computers.values():
            computer.shut_down()
        self._process.send_signal(signal.SIGINT)
        try:
            self._process.wait(END_LIMIT)
        except subprocess.TimeoutExpired:
            self._process.kill()
            self._process.wait()
        self._log.close()
