"""The list of observations of org.bluez, and what they have in common.

Each observation is a function of the subject that returns what it has seen, in words that are the same wherever the
behaviour is the same. Nothing here knows which daemon it looks at.
"""
import time

from agent import register, withdraw
from bluez import DEVICE
from pump import pause

NOWHERE = "00:AA:01:EE:00:42"
SETTLE, BEGIN_LIMIT = 0.6, 15.0
STATE = ("Paired", "Bonded", "Trusted", "Connected")
OBSERVATIONS = []

# How long an answer takes.
PACES = AT_ONCE, IN_SECONDS, LATE, NEVER = "at once", "in seconds", "late", "never"


class NotImitatedError(Exception):
    """The subject is no real daemon, and has no such thing."""


def observation(function):
    OBSERVATIONS.append(function)
    return function


def observe(subject):
    """Name -> (what was seen, how long each kind of call took, how many seconds it took in all)."""
    return {function.__name__: observe_patiently(subject, function) for function in OBSERVATIONS}


def observe_patiently(subject, function):
    """What does not come at once is observed twice, for the machine itself may have been held up; the quicker counts."""
    first = observe_once(subject, function)
    if all(word == AT_ONCE for word in first[1].values()):
        return told(*first)
    again = observe_once(subject, function)
    quicker = {method: min(word, again[1].get(method, word), key=PACES.index) for method, word in first[1].items()}
    return told(again[0], quicker, again[2])


def observe_once(subject, function):
    began = time.monotonic()
    try:
        subject.reset()
        subject.calls.clear()
        began = time.monotonic()
        seen = str(function(subject)).replace("org.bluez.Error.", "").replace("org.freedesktop.DBus.Error.", "")
    except NotImitatedError as reason:
        seen = f"not imitated: {reason}"
    except Exception as error:  # what cannot be observed is an observation, too
        seen = f"cannot be observed: {error or type(error).__name__}"
        subject.distrust()
    if end := subject.own_end():
        seen += f"; {subject.name} ended by itself: {end}"
        subject.distrust()
    return seen, paces(subject.calls), time.monotonic() - began


def told(seen, slowest, seconds):
    return seen, ", ".join(f"{method} {word}" for method, word in slowest.items()), round(seconds, 1)


def paces(calls):
    """Each kind of call with its slowest answer, however often it was made."""
    slowest = {}
    for method, answer in calls:
        slowest[method] = max(slowest.get(method, AT_ONCE), pace(answer), key=PACES.index)
    return slowest


def pace(answer):
    if answer.error == "none":
        return NEVER
    return AT_ONCE if answer.seconds < 1.5 else IN_SECONDS if answer.seconds < 8 else LATE


def flags(subject, *names, device=None):
    device = device or subject.device()
    if device is None:
        return "no object"
    return " ".join(f"{name}={bool(device[name]) if name in device else 'absent'}" for name in names)


def order_of(subject, *names):
    """What was announced, oldest first; what was announced together is in the order of `names`."""
    order = []
    for _, member, path, changed in subject.bluez.signals:
        if path == subject.path and member == "PropertiesChanged":
            order += [f"{name}={bool(changed[name])}" for name in names if name in changed]
        elif path == subject.path and DEVICE in changed:
            order.append(member)
    return ", ".join(order)


class Agent:
    """The client's own agent while an observation needs one."""

    def __init__(self, subject, capability="NoInputNoOutput"):
        self._subject, self._capability = subject, capability

    def __enter__(self):
        self._agent = register(self._subject, self._capability)
        return self._agent

    def __exit__(self, *_):
        withdraw(self._subject, self._agent)


def paired(subject, connect=True):
    subject.find()
    with Agent(subject):
        answer = subject.call(DEVICE, "Pair")
    assert not answer.error, f"Pair: {answer}"
    if connect:
        answer = subject.call(DEVICE, "Connect")
        assert not answer.error, f"Connect: {answer}"


def begun(subject, method):
    """A call that hangs."""
    call = subject.bluez.begin(subject.path, DEVICE, method)
    pause(1.0)
    return call
