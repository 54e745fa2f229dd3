"""Runs scenarios in a machine, one after the other, and tells how each went.

  run.py NAME...     NAME: a file in tests/vm/scenarios, or file.function

A scenario is a function of the world, named test_...; it fails by an exception. How many passed and failed is in the
shared file "counts".
"""
import importlib
import inspect
import os
import pathlib
import sys
import time
import traceback

SCENARIOS = pathlib.Path(os.environ["VM_SOURCE"]) / "tests/vm/scenarios"
sys.path.insert(0, str(SCENARIOS))

from world import World  # noqa: E402


def functions_of(name):
    file, _, only = name.partition(".")
    module = importlib.import_module(file)
    members = [(key, value) for key, value in vars(module).items() if key.startswith("test_") and inspect.isfunction(value)]
    members.sort(key=lambda member: member[1].__code__.co_firstlineno)
    return [(f"{file}.{key}", value) for key, value in members if not only or key == only]


def run(world, name, function):
    began = time.monotonic()
    try:
        world.reset()
        prepared = time.monotonic()
        function(world)
        print(f"    ok    {name} ({time.monotonic() - prepared:.1f} s, {prepared - began:.1f} s to prepare)", flush=True)
        return True
    except Exception as error:  # whatever a scenario raises is its failure
        print(f"    FAIL  {name} ({time.monotonic() - began:.1f} s): {error or type(error).__name__}", flush=True)
        world.daemon.distrust()
        with open("/run/vm/failures.log", "a") as log:
            log.write(f"{name}\n{traceback.format_exc()}\n")
            log.write(f"keyboard: {world.keyboard.state()}\n\n")
        return False


def main(names):
    world = World()
    outcomes = [run(world, name, function) for wanted in names for name, function in functions_of(wanted)]
    world.daemon.stop()
    with open("/run/vm/counts", "w") as counts:
        counts.write(f"{outcomes.count(True)} {outcomes.count(False)}")
    return 0 if outcomes and all(outcomes) else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
