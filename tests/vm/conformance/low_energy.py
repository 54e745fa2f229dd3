"""What a client can observe of Bluetooth LE: one adapter advertises and serves, another one looks for it."""
import dbus

from bluez import ADAPTER, DEVICE, device_path
from notes import BEGIN_LIMIT, flags, observation
from peripheral import CHARACTERISTIC_UUID, GATT_CHARACTERISTIC, SERVICE_UUID, Peripheral
from pump import wait_until

LONG_NAME = "A computer whose name has 41 characters.."
OTHER_UUID = "0000feed-0000-1000-8000-00805f9b34fb"
REMOVAL_LIMIT, SILENCE = 8.0, 4.0
STATE = ("Paired", "Bonded", "Connected")


def found(subject, peer, uuid=None, limit=BEGIN_LIMIT):
    """Its path, or None; with a UUID only what advertises it is looked for."""
    path, begin = device_path(subject.adapter, peer.address), len(subject.bluez.signals)
    filter_ = {"Transport": "le"}
    if uuid:
        filter_["UUIDs"] = dbus.Array([uuid], signature="s")
    subject.call(ADAPTER, "SetDiscoveryFilter", "a{sv}", filter_)
    subject.call(ADAPTER, "StartDiscovery")
    is_found = subject.bluez.wait_for("InterfacesAdded", path, begin, limit)
    subject.call(ADAPTER, "StopDiscovery")
    return path if is_found else None


def connected(subject, peer):
    path = found(subject, peer)
    assert path, "no advertisement is heard"
    answer = subject.call(DEVICE, "Connect", path=path)
    assert not answer.error, f"Connect: {answer}"
    resolved = wait_until(lambda: subject.bluez.flag(path, "ServicesResolved"), BEGIN_LIMIT)
    assert resolved, "the services are not resolved"
    return path


@observation
def registering_an_advertisement(subject):
    peer = subject.second_adapter()
    with Peripheral(subject.bluez, peer.path) as peripheral:
        answers = [
            peripheral.advertise(),
            peripheral.advertise(),
            peripheral.withdraw(),
            peripheral.withdraw(),
            peripheral.advertise(LONG_NAME),
        ]
    return "; ".join(map(str, answers))


@observation
def low_energy_discovery_by_service(subject):
    peer = subject.second_adapter()
    with Peripheral(subject.bluez, peer.path) as peripheral:
        peripheral.advertise()
        other = found(subject, peer, OTHER_UUID, SILENCE)
        path = found(subject, peer, SERVICE_UUID)
        device = subject.bluez.devices()[path]
    is_named = SERVICE_UUID in [str(uuid) for uuid in device["UUIDs"]]
    return f"by another: {bool(other)}; {device['AddressType']}; UUID known: {is_named}; {flags(subject, *STATE, device=device)}"


@observation
def low_energy_connection_without_pairing(subject):
    peer = subject.second_adapter()
    with Peripheral(subject.bluez, peer.path) as peripheral:
        served = peripheral.serve()
        peripheral.advertise()
        path = connected(subject, peer)
        return f"RegisterApplication: {served}; {flags(subject, *STATE, device=subject.bluez.devices()[path])}"


@observation
def characteristics_without_pairing(subject):
    peer = subject.second_adapter()
    with Peripheral(subject.bluez, peer.path) as peripheral:
        peripheral.serve()
        peripheral.advertise()
        path = connected(subject, peer)
        objects = subject.bluez.objects()
        wanted = [
            str(name)
            for name, all_ in objects.items()
            if str(name).startswith(path) and all_.get(GATT_CHARACTERISTIC, {}).get("UUID") == CHARACTERISTIC_UUID
        ]
        assert wanted, "no characteristic"
        text, nothing = dbus.ByteArray(b"hello"), dbus.Dictionary(signature="sv")
        written = subject.call(GATT_CHARACTERISTIC, "WriteValue", "aya{sv}", text, nothing, path=wanted[0])
        read = subject.call(GATT_CHARACTERISTIC, "ReadValue", "a{sv}", nothing, path=wanted[0])
        size = objects[wanted[0]][GATT_CHARACTERISTIC].get("MTU", "absent")
        return f"WriteValue: {written}; arrived: {bytes(peripheral.value)}; ReadValue: {read}; MTU {size}"


@observation
def removing_a_connected_low_energy_device(subject):
    peer = subject.second_adapter()
    with Peripheral(subject.bluez, peer.path) as peripheral:
        peripheral.serve()
        peripheral.advertise()
        path = connected(subject, peer)
        begin = len(subject.bluez.signals)
        answer = subject.call(ADAPTER, "RemoveDevice", "o", path, limit=REMOVAL_LIMIT)
        is_announced = subject.bluez.wait_for("InterfacesRemoved", path, begin, 5)
    return f"{answer}; announced: {is_announced}"
