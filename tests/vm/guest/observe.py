"""Makes the observations of tests/vm/conformance, in a machine or on a computer of the lab."""
import os
import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "conformance"))

import low_energy  # noqa: E402, F401
import observations  # noqa: E402, F401
import two_adapters  # noqa: E402, F401
from notes import observe  # noqa: E402
from subjects import LabDaemon, RealDaemon, report  # noqa: E402


def subject():
    if os.environ.get("LAB_COMPUTER"):
        return LabDaemon()
    from world import World

    return RealDaemon(World())


if __name__ == "__main__":
    here = subject()
    report(here, observe(here))
