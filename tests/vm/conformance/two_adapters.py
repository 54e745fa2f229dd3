"""What a client can observe of a computer with two adapters."""
from bluez import ADAPTER, DEVICE, device_path
from notes import STATE, Agent, flags, observation


@observation
def a_device_at_two_adapters(subject):
    """Two objects, which know nothing of each other."""
    subject.find()
    second = subject.second_adapter().path
    assert subject.bluez.discover(second, subject.keyboard), "not found by the second adapter"
    with Agent(subject):
        answer = subject.call(DEVICE, "Pair", path=device_path(second, subject.keyboard))
    there = subject.bluez.device(second, subject.keyboard)
    return f"{answer}; here: {flags(subject, *STATE)}; there: {flags(subject, *STATE, device=there)}"


@observation
def removal_at_one_of_two_adapters(subject):
    subject.find()
    second = subject.second_adapter().path
    assert subject.bluez.discover(second, subject.keyboard), "not found by the second adapter"
    path = device_path(second, subject.keyboard)
    wrong = subject.call(ADAPTER, "RemoveDevice", "o", path)
    right = subject.call(ADAPTER, "RemoveDevice", "o", path, path=second)
    return f"by the wrong one: {wrong}; by its own: {right}; here: {flags(subject, 'Paired')}"


@observation
def two_adapters_have_their_own_power(subject):
    second = subject.second_adapter()
    subject.bluez.set_property(subject.adapter, ADAPTER, "Powered", False)
    adapters = subject.bluez.adapters()
    return f"here: {bool(adapters[subject.adapter]['Powered'])}; there: {bool(adapters[second.path]['Powered'])}"
