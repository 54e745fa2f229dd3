"""Child processes that end with this one, whatever ends it."""
import ctypes
import signal
import subprocess

STOP_LIMIT = 3.0
SET_PARENT_DEATH_SIGNAL = 1

_libc = ctypes.CDLL(None, use_errno=True)


def start_process(arguments, **options):
    """In a session of its own, so that an interrupt from the keyboard reaches only us, who then stop it."""

    def end_with_parent():
        _libc.prctl(SET_PARENT_DEATH_SIGNAL, signal.SIGKILL)

    options.setdefault("stdin", subprocess.DEVNULL)
    return subprocess.Popen(
        [str(argument) for argument in arguments], start_new_session=True, preexec_fn=end_with_parent, **options
    )


def stop_process(process):
    if process.poll() is not None:
        return
    process.terminate()
    try:
        process.wait(STOP_LIMIT)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()
