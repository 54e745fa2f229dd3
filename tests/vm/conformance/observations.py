"""What a client can observe of one adapter and of one Bluetooth Classic device."""
from bluez import ADAPTER, AGENT_MANAGER, DEVICE, OBJECT_MANAGER, PROPERTIES, Bluez, device_path
from notes import BEGIN_LIMIT, NOWHERE, SETTLE, STATE, Agent, begun, flags, observation, order_of, paired
from pump import pause, wait_until


# What is not there.


@observation
def calls_on_an_unknown_device(subject):
    path = device_path(subject.adapter, NOWHERE)
    return "; ".join(f"{method}: {subject.call(DEVICE, method, path=path).error}" for method in ("Pair", "Connect"))


@observation
def removal_of_an_unknown_device(subject):
    return subject.call(ADAPTER, "RemoveDevice", "o", device_path(subject.adapter, NOWHERE))


@observation
def unknown_methods_and_interfaces(subject):
    answers = (
        subject.call(ADAPTER, "NoSuchMethod"),
        subject.call("org.bluez.NoSuchInterface1", "Method", path=subject.adapter),
        subject.call(PROPERTIES, "Get", "ss", ADAPTER, "NoSuchProperty", path=subject.adapter),
        subject.call(ADAPTER, "RemoveDevice", "s", "text"),
    )
    return "; ".join(answer.error for answer in answers)


# Discovery.


@observation
def stopping_a_discovery_that_does_not_run(subject):
    return subject.call(ADAPTER, "StopDiscovery")


@observation
def starting_a_discovery_twice(subject):
    first, second = subject.call(ADAPTER, "StartDiscovery"), subject.call(ADAPTER, "StartDiscovery")
    stopped = subject.call(ADAPTER, "StopDiscovery")
    return f"{first}; {second}; {stopped}"


def is_discovering(subject):
    return bool(subject.bluez.adapters()[subject.adapter]["Discovering"])


@observation
def a_discovery_ends_with_its_client(subject):
    other = Bluez()
    answer = other.call(subject.adapter, ADAPTER, "StartDiscovery")
    wait_until(lambda: is_discovering(subject), BEGIN_LIMIT)
    other.bus.close()
    return f"{answer}; ends: {wait_until(lambda: not is_discovering(subject), BEGIN_LIMIT)}"


@observation
def a_discovery_lasts_until_its_last_client_stops(subject):
    other = Bluez()
    for bluez in (subject.bluez, other):
        bluez.call(subject.adapter, ADAPTER, "StartDiscovery")
    subject.call(ADAPTER, "StopDiscovery")
    pause(SETTLE)
    before = is_discovering(subject)
    other.call(subject.adapter, ADAPTER, "StopDiscovery")
    other.bus.close()
    return f"one left: {before}; ends: {wait_until(lambda: not is_discovering(subject), BEGIN_LIMIT)}"


@observation
def wrong_discovery_filters(subject):
    wrong = ({"NoSuchKey": True}, {"Transport": "pigeon"}, {"Transport": 1})
    return "; ".join(str(subject.call(ADAPTER, "SetDiscoveryFilter", "a{sv}", filter_)) for filter_ in wrong)


@observation
def a_discovered_device(subject):
    subject.call(ADAPTER, "SetDiscoveryFilter", "a{sv}", {"Transport": "bredr"})
    subject.call(ADAPTER, "StartDiscovery")
    wait_until(subject.device, BEGIN_LIMIT)
    pause(SETTLE)
    during = subject.device()
    subject.call(ADAPTER, "StopDiscovery")
    pause(SETTLE)
    after = subject.device()
    wanted = ("Adapter", "Address", "AddressType", "Alias", "Class", "Icon", "Name", *STATE)
    missing = [name for name in wanted if name not in during]
    return f"missing: {missing}; {flags(subject, *STATE)}; RSSI during: {'RSSI' in during}, after: {'RSSI' in after}"


# Pairing.


@observation
def pairing_with_an_agent(subject):
    subject.find()
    with Agent(subject) as agent:
        answer = subject.call(DEVICE, "Pair")
    return f"{answer}; agent asked: {[question for question, _ in agent.asked]}; {flags(subject, *STATE)}"


@observation
def announcements_of_a_pairing(subject):
    subject.find()
    pause(SETTLE)
    subject.bluez.signals.clear()
    with Agent(subject):
        subject.call(DEVICE, "Pair")
    pause(SETTLE)
    return order_of(subject, "Connected", "Bonded", "Paired")


@observation
def pairing_when_paired(subject):
    paired(subject, connect=False)
    return subject.call(DEVICE, "Pair")


@observation
def pairing_twice_at_once(subject):
    subject.find()
    subject.behave("hangs-on-pair")
    with Agent(subject):
        first = begun(subject, "Pair")
        second = subject.call(DEVICE, "Pair")
        cancelled = subject.call(DEVICE, "CancelPairing")
        return f"second: {second}; CancelPairing: {cancelled}; first: {first.wait()}"


@observation
def cancelling_without_a_pairing(subject):
    subject.find()
    return subject.call(DEVICE, "CancelPairing")


@observation
def pairing_that_the_device_refuses(subject):
    subject.find()
    subject.behave("refuses-pairing")
    with Agent(subject):
        answer = subject.call(DEVICE, "Pair")
    return f"{answer.error}; {flags(subject, *STATE)}"


@observation
def pairing_with_a_device_that_fell_asleep(subject):
    subject.find()
    subject.behave("asleep")
    with Agent(subject):
        return f"{subject.call(DEVICE, 'Pair').error}; {flags(subject, *STATE)}"


@observation
def pairing_whose_caller_leaves(subject):
    subject.find()
    subject.behave("hangs-on-pair")
    other = Bluez()
    other.begin(subject.path, DEVICE, "Pair")
    pause(1.0)
    other.bus.close()
    pause(SETTLE)
    subject.behave("normal")
    with Agent(subject):
        answers = []
        wait_until(lambda: answers.append(subject.call(DEVICE, "Pair")) or not answers[-1].error, BEGIN_LIMIT)
    return f"in the end: {answers[-1]}; {flags(subject, 'Paired', 'Bonded')}"


# Connecting.


@observation
def connecting_a_paired_device(subject):
    paired(subject, connect=False)
    answer = subject.call(DEVICE, "Connect")
    return f"{answer}; {flags(subject, *STATE)}"


@observation
def connecting_a_connected_device(subject):
    paired(subject)
    return subject.call(DEVICE, "Connect")


@observation
def connecting_without_pairing(subject):
    subject.find()
    answer = subject.call(DEVICE, "Connect")
    return f"{answer}; {flags(subject, 'Paired', 'Bonded', 'Connected')}"


@observation
def connecting_twice_at_once(subject):
    paired(subject, connect=False)
    subject.behave("hangs-on-connect")
    begun(subject, "Connect")
    second = subject.call(DEVICE, "Connect")
    return f"second: {second}; {flags(subject, 'Connected')}"


@observation
def connecting_a_device_that_answers_late(subject):
    paired(subject, connect=False)
    subject.behave("hangs-on-connect")
    call = begun(subject, "Connect")
    subject.behave("normal")
    return f"{call.wait()}; {flags(subject, *STATE)}"


@observation
def connecting_a_device_that_sleeps(subject):
    paired(subject)
    subject.call(DEVICE, "Disconnect")
    subject.behave("asleep")
    return f"{subject.call(DEVICE, 'Connect')}; {flags(subject, *STATE)}"


@observation
def connection_that_the_device_refuses(subject):
    paired(subject)
    subject.call(DEVICE, "Disconnect")
    subject.behave("refuses-connection")
    answer = subject.call(DEVICE, "Connect")
    now = flags(subject, *STATE)
    pause(4.0)
    return f"{answer}; {now}; 4 s later: {flags(subject, 'Connected')}"


@observation
def connecting_a_device_that_has_bonded_elsewhere(subject):
    paired(subject)
    subject.bond_elsewhere()
    pause(SETTLE)
    subject.bluez.signals.clear()
    answer = subject.call(DEVICE, "Connect")
    pause(SETTLE)
    last = order_of(subject, "Connected", "Paired").split(", ")[-1]  # the link's coming may be left out
    return f"{answer}; {flags(subject, *STATE)}; announced in the end: {last}"


@observation
def disconnecting(subject):
    paired(subject)
    first, now = subject.call(DEVICE, "Disconnect"), flags(subject, *STATE)
    return f"{first}; {now}; once more: {subject.call(DEVICE, 'Disconnect')}"


# Removal.


@observation
def removing_a_connected_device(subject):
    paired(subject)
    subject.bluez.signals.clear()
    answer = subject.call(ADAPTER, "RemoveDevice", "o", subject.path)
    is_announced = subject.bluez.wait_for("InterfacesRemoved", subject.path, 0, 5)
    return f"{answer}; announced: {is_announced}; {flags(subject, *STATE)}"


@observation
def announcements_of_a_removal(subject):
    paired(subject)
    pause(SETTLE)
    subject.bluez.signals.clear()
    subject.call(ADAPTER, "RemoveDevice", "o", subject.path)
    subject.bluez.wait_for("InterfacesRemoved", subject.path, 0, 5)
    return order_of(subject, "Connected", "Bonded", "Paired")


@observation
def removing_twice(subject):
    paired(subject)
    subject.call(ADAPTER, "RemoveDevice", "o", subject.path)
    pause(SETTLE)
    again = subject.call(ADAPTER, "RemoveDevice", "o", subject.path)
    return f"{again}; Connect: {subject.call(DEVICE, 'Connect').error}"


@observation
def a_removed_device_can_be_found_anew(subject):
    paired(subject)
    subject.call(ADAPTER, "RemoveDevice", "o", subject.path)
    paired(subject)
    return flags(subject, "Paired", "Bonded", "Connected")


# Properties.


@observation
def writing_properties(subject):
    paired(subject, connect=False)
    subject.bluez.signals.clear()
    answers = [
        subject.bluez.set_property(subject.path, DEVICE, "Trusted", True),
        subject.bluez.set_property(subject.path, DEVICE, "Trusted", "text"),
        subject.bluez.set_property(subject.path, DEVICE, "Paired", True),
        subject.bluez.set_property(subject.adapter, ADAPTER, "Powered", "text"),
    ]
    pause(SETTLE)
    return f"{'; '.join(answer.error or 'success' for answer in answers)}; announced: {order_of(subject, 'Trusted')}"


@observation
def the_adapter(subject):
    adapter = subject.bluez.adapters()[subject.adapter]
    wanted = "Address AddressType Name Alias Class Powered Discoverable Pairable Discovering UUIDs".split()
    return f"missing: {[name for name in wanted if name not in adapter]}; Powered={bool(adapter['Powered'])}"


@observation
def interfaces_of_the_objects(subject):
    paired(subject)
    objects = subject.bluez.call("/", OBJECT_MANAGER, "GetManagedObjects").value
    wanted = {subject.adapter: ADAPTER, subject.path: DEVICE, "/org/bluez": AGENT_MANAGER}
    return "; ".join(f"{name}: {name in objects.get(path, {})}" for path, name in wanted.items())


# Agents.


@observation
def registering_agents(subject):
    def ask(method, signature, *arguments):
        return subject.call(AGENT_MANAGER, method, signature, *arguments, path="/org/bluez").error or "success"

    return "; ".join(
        (
            ask("RequestDefaultAgent", "o", "/vm/other"),
            ask("UnregisterAgent", "o", "/vm/other"),
            ask("RegisterAgent", "os", "/vm/other", "Telepathy"),
            ask("RegisterAgent", "os", "/vm/other", "NoInputNoOutput"),
            ask("RegisterAgent", "os", "/vm/other", "NoInputNoOutput"),
            ask("RegisterAgent", "os", "/vm/second", "NoInputNoOutput"),
            ask("RequestDefaultAgent", "o", "/vm/other"),
            ask("UnregisterAgent", "o", "/vm/other"),
        )
    )


# Power, and the adapter's absence.


@observation
def an_adapter_that_is_off(subject):
    paired(subject)
    answer = subject.bluez.set_property(subject.adapter, ADAPTER, "Powered", False)
    pause(SETTLE)
    state = flags(subject, *STATE)
    calls = (
        subject.call(ADAPTER, "StartDiscovery"),
        subject.call(ADAPTER, "StopDiscovery"),
        subject.call(ADAPTER, "RemoveDevice", "o", subject.path),
        subject.call(DEVICE, "Connect"),
        subject.call(DEVICE, "Disconnect"),
        subject.call(DEVICE, "Pair"),
    )
    subject.bluez.set_property(subject.adapter, ADAPTER, "Powered", True)
    return f"{answer}; {state}; {'; '.join(call.error for call in calls)}; on again: {flags(subject, 'Paired')}"


@observation
def switching_off_in_the_middle_of_a_connection(subject):
    paired(subject, connect=False)
    subject.behave("hangs-on-connect")
    call = begun(subject, "Connect")
    subject.bluez.set_property(subject.adapter, ADAPTER, "Powered", False)
    return f"{call.wait(10).error}; {flags(subject, *STATE)}"


@observation
def unplugging_in_the_middle_of_a_connection(subject):
    paired(subject, connect=False)
    subject.behave("hangs-on-connect")
    call, path = begun(subject, "Connect"), subject.path
    subject.bluez.signals.clear()
    subject.unplug()
    is_announced = subject.bluez.wait_for("InterfacesRemoved", path, 0, 10)
    return f"announced: {is_announced}; the call: {call.wait(3).error}"
