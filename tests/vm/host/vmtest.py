"""scripts/vm-test without its packages and its build: makes the machines' parts, runs scenarios in them, tells how it
went. See scripts/vm-test --help."""
import argparse
import ast
import pathlib
import shutil
import signal
import sys
import time

import cache
import processes
from accelerator import choose_accelerator
from bench import Bench, say, step
from conformance import compare
from counts import Counts
from downloads import DownloadError
from figures import run_figures
from handover import run_handover
from kernel import CANDIDATES, Kernel
from lanes import run_in_lanes
from single import run_shell, run_single

CONFORMANCE, FIGURES, HANDOVER, SELF_CHECK = "conformance", "figures", "handover", "self_check"
HOST_SCENARIOS = (CONFORMANCE, FIGURES, HANDOVER)
ONLY_IF_NAMED = (FIGURES, SELF_CHECK)
SLOWEST_FIRST = [HANDOVER, CONFORMANCE, "outcomes", "misfortune"]
IN_MACHINE_OF = {"agents": "adapters"}  # a start takes longer than either
STATUS_FAILED, STATUS_SKIPPED, STATUS_INTERRUPTED = 1, 77, 130


def usable_kernel(bench):
    """The first kernel that can be had and passes the self-check, or None."""
    mark = cache.fingerprint(cache.TESTS / "radio/btvirt.patch", cache.TESTS / "guest/init")
    for package in CANDIDATES:
        kernel = Kernel(package)
        try:
            kernel.make(bench.apt)
        except DownloadError as error:
            say(f"{package}: {error}")
            continue
        say(f"{package}, {choose_accelerator(kernel)}")
        if kernel.is_checked(mark):
            return kernel
        step(f"Is {package} fit for this?")
        shutil.rmtree(bench.logs / "self-check", ignore_errors=True)
        if run_single(bench, kernel, "self-check", bench.guest("run.py", SELF_CHECK)) == 0:
            kernel.note_checked(mark)
            return kernel
        say(f"{package} is not fit; the logs are in {bench.logs_name}/self-check")
    return None


def scenario_names():
    return sorted(path.stem for path in (cache.TESTS / "scenarios").glob("*.py")) + list(HOST_SCENARIOS)


def source_of(name):
    folder = "host" if name in HOST_SCENARIOS else "scenarios"
    return ast.parse((cache.TESTS / folder / f"{name}.py").read_text())


def list_scenarios():
    for name in scenario_names():
        print(f"{name:14} {ast.get_docstring(source_of(name)).splitlines()[0]}")


def is_scenario(name):
    """Also one part of one, of those that have parts to choose."""
    file, dot, part = name.partition(".")
    if file not in scenario_names():
        return False
    parts = [item.name for item in source_of(file).body if isinstance(item, ast.FunctionDef)]
    return not dot or file not in HOST_SCENARIOS and part.startswith("test_") and part in parts


def run_in_one_machine(bench, kernel, file, names):
    """A machine that dies counts as one failure more."""
    status = run_single(bench, kernel, file, bench.guest("run.py", *names))
    counts = bench.logs / file / "counts"
    passed, failed = map(int, counts.read_text().split()) if counts.exists() else (0, 0)
    return Counts(passed, failed or int(status != 0))


def job(bench, kernel, file, names):
    if file == HANDOVER:
        return lambda: run_handover(bench, kernel, say)
    if file == FIGURES:
        return lambda: run_figures(bench, kernel, say)
    if file == CONFORMANCE:
        observe = bench.guest("observe.py")
        return lambda: compare(bench, lambda: run_single(bench, kernel, CONFORMANCE, observe), say)
    return lambda: run_in_one_machine(bench, kernel, file, names)


def run_scenarios(bench, kernel, names):
    step(f"Machines with the real bluetoothd: {', '.join(names)}")
    files = {}
    for name in names:
        file = name.partition(".")[0]
        files.setdefault(IN_MACHINE_OF.get(file, file), []).append(name)
    slowest = sorted(files, key=lambda file: SLOWEST_FIRST.index(file) if file in SLOWEST_FIRST else len(files))
    return run_in_lanes([job(bench, kernel, file, files[file]) for file in slowest])


def absolute(path):
    """The machines see this computer's files under the same names, but have another working directory."""
    return pathlib.Path(path).resolve()


def parse(arguments):
    usage = "scripts/vm-test [OPTION...] [NAME...]; see scripts/vm-test --help"
    parser = argparse.ArgumentParser(prog="vm-test", usage=usage, add_help=False)
    parser.add_argument("names", nargs="*")
    parser.add_argument("--shell", action="store_true")
    parser.add_argument("--list", action="store_true")
    parser.add_argument("--only-check", action="store_true")  # of the arguments, before anything is built
    parser.add_argument("--suite", choices=("trixie", "sid"))
    parser.add_argument("--build", type=absolute, default=cache.PROJECT / "build/dev")
    parser.add_argument("--zolvex", type=absolute)
    parser.add_argument("--lab", type=absolute)
    parser.add_argument("--zolvexctl", type=absolute)
    options = parser.parse_args(arguments)
    for name in options.names:
        if not is_scenario(name):
            parser.error(f"there is no scenario {name}; --list names them")
    options.zolvex = options.zolvex or options.build / "src/app/zolvex"
    options.lab = options.lab or options.build / "lab/zolvex-lab"
    options.zolvexctl = options.zolvexctl or options.build / "src/control/zolvexctl"
    options.names = options.names or [name for name in scenario_names() if name not in ONLY_IF_NAMED]
    return options


def missing_programs(options):
    """A build makes them all, but --zolvex takes its place."""
    needed = {options.lab} if CONFORMANCE in options.names else set()
    if CONFORMANCE in options.names or not options.suite:
        needed.add(options.zolvex)
    if {HANDOVER, FIGURES} & set(options.names) and not options.suite:
        needed.add(options.zolvexctl)
    return sorted(str(program) for program in needed if not program.exists())


def run(options):
    began = time.monotonic()
    bench = Bench(options)
    try:
        kernel = usable_kernel(bench)
        if not kernel:
            return skipped("no kernel that can be downloaded here passes the self-check")
        if options.shell:
            return run_shell(bench, kernel) or 0
        counts = run_scenarios(bench, kernel, options.names)
        step(f"{time.monotonic() - began:.0f} s; the logs are in {bench.logs_name}")
        print(counts, flush=True)
        return STATUS_FAILED if counts.failed or not counts.passed else 0
    finally:
        processes.close()
        bench.close()


def skipped(why):
    print(f"\nvm-test: skipped, for {why}\n{Counts(skipped=1)}", flush=True)
    return STATUS_SKIPPED


def main():
    options = parse(sys.argv[1:])
    if options.list:
        list_scenarios()
        return 0
    if options.only_check:
        return 0
    if not options.shell and (missing := missing_programs(options)):
        print(f"vm-test: these programs are missing; build them first: {', '.join(missing)}", file=sys.stderr)
        return STATUS_FAILED
    # Either ends like Ctrl-C, also where a shell has begun us in the background: everything is stopped on the way out.
    for number in (signal.SIGINT, signal.SIGTERM):
        signal.signal(number, signal.default_int_handler)
    try:
        return run(options)
    except DownloadError as error:
        return skipped(f"something cannot be downloaded: {error}")
    except KeyboardInterrupt:
        print("\nvm-test: interrupted", file=sys.stderr)
        return STATUS_INTERRUPTED


if __name__ == "__main__":
    sys.exit(main())
