"""Child processes that end with this one, whatever ends it."""
import signal
import subprocess
import threading
from contextlib import contextmanager

STOP_LIMIT = 3.0

_lock = threading.Lock()
_running = set()
_is_closed = False


class ClosedError(Exception):
    """The run is ending; nothing is started any more."""


def start_process(arguments, has_terminal=False, **options):
    """In a session of its own, so that an interrupt from the keyboard reaches only us, who then stop it; unless it is to
    have our terminal.

    The kernel ends it with the thread that has started it: such a thread must last as long as the process shall."""
    options.setdefault("stdin", None if has_terminal else subprocess.DEVNULL)
    command = ["setpriv", "--pdeathsig", "KILL", "--", *(str(argument) for argument in arguments)]
    with _lock:
        if _is_closed:
            raise ClosedError
        process = subprocess.Popen(command, start_new_session=not has_terminal, **options)
        _running.add(process)
    return process


def stop_process(process):
    if process.poll() is None:
        process.terminate()
        try:
            process.wait(STOP_LIMIT)
        except subprocess.TimeoutExpired:
            kill_process(process)
    with _lock:
        _running.discard(process)


def kill_process(process):
    process.send_signal(signal.SIGKILL)
    process.wait()
    with _lock:
        _running.discard(process)


@contextmanager
def time_limit(seconds, *processes):
    """Ends them when the block takes longer: who reads what they write then comes to its end."""
    timer = threading.Timer(seconds, lambda: [process.kill() for process in processes])
    timer.daemon = True
    timer.start()
    try:
        yield
    finally:
        timer.cancel()


def close():
    """Ends all that still run; who waits for them in another thread finds them ended."""
    global _is_closed
    with _lock:
        _is_closed = True
        left = list(_running)
    for process in left:
        if process.poll() is None:
            process.kill()
    for process in left:
        process.wait()
