"""How a run went, in numbers."""
from typing import NamedTuple


class Counts(NamedTuple):
    passed: int = 0
    failed: int = 0
    skipped: int = 0

    def plus(self, other):
        return Counts(*map(sum, zip(self, other)))

    def __str__(self):
        return f"{self.passed} passed, {self.failed} failed, {self.skipped} skipped"
