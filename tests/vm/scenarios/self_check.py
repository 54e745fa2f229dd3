"""What any kernel, radio and daemon must be able to do before anything else can be said: the least that everything
depends on, on which unfit kernels are known to fail."""
import agent
from bluez import ADAPTER, DEVICE, device_path
from peripheral import Peripheral
from pump import wait_until

CONNECT_LIMIT = 20.0


def test_classic_pairing_and_input(world):
    """With an agent: without one the daemon pairs, but makes no bond, and then lets no input in."""
    adapter = world.adapter
    desktop = agent.register(world, "NoInputNoOutput")
    assert world.bluez.discover(adapter, world.keyboard.address), "the keyboard is not found"
    path = device_path(adapter, world.keyboard.address)
    for method in ("Pair", "Connect"):
        answer = world.bluez.call(path, DEVICE, method)
        assert not answer.error, f"{method}: {answer}"
    world.expect_within(CONNECT_LIMIT, world.input_devices, "no input device")
    agent.withdraw(world, desktop)


def test_low_energy_connection(world):
    world.adapters[1].plug_in()
    world.await_power(world.adapters[1])
    central, there = (world.bluez.adapter_path(adapter.address) for adapter in world.adapters[:2])
    with Peripheral(world.bluez, there) as peripheral:
        answer = peripheral.advertise()
        assert not answer.error, f"advertise: {answer}"
        assert world.bluez.discover(central, world.adapters[1].address, transport="le"), "no advertisement is heard"
        path = device_path(central, world.adapters[1].address)
        answer = world.bluez.call(path, DEVICE, "Connect")
        assert not answer.error, f"Connect: {answer}"
        resolved = wait_until(lambda: world.bluez.flag(path, "ServicesResolved"), CONNECT_LIMIT)
    world.bluez.call(central, ADAPTER, "RemoveDevice", "o", path, limit=2)
    assert resolved, "the services are not resolved"
