"""Where the parts of the machines are kept between runs."""
import hashlib
import os
import pathlib

TESTS = pathlib.Path(__file__).resolve().parent.parent
PROJECT = TESTS.parent.parent


def directory():
    override = os.environ.get("ZOLVEX_VM_CACHE")
    home = os.environ.get("XDG_CACHE_HOME") or pathlib.Path.home() / ".cache"
    path = pathlib.Path(override) if override else pathlib.Path(home) / "zolvex/vm"
    path.mkdir(parents=True, exist_ok=True)
    return path.resolve()


def fingerprint(*inputs):
    """A short text that changes with the content of these files (or with these texts)."""
    digest = hashlib.sha256()
    for item in inputs:
        digest.update(item.read_bytes() if isinstance(item, pathlib.Path) else str(item).encode())
    return digest.hexdigest()[:12]


def is_made_from(target, mark):
    """Whether `target` was finished from the inputs with this fingerprint."""
    stamp = target.with_name(target.name + ".made-from")
    return target.exists() and stamp.exists() and stamp.read_text() == mark


def note_made_from(target, mark):
    target.with_name(target.name + ".made-from").write_text(mark)
