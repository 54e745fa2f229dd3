"""Adapters that are off, that go away, and two of them."""
import json

from bluez import device_path
from misfortune import begin_connecting


def expect_off(world, adapter=None):
    for command in ("connect", "unregister"):
        run = world.worker(command, world.keyboard.address, adapter)
        assert (run.status, run.output, run.error) == (69, "", "Bluetooth is off\n"), run


def test_an_adapter_that_is_off_keeps_its_bonds(world):
    world.pair_and_connect()
    world.power(False)
    expect_off(world)
    listed = json.loads(world.worker("listPaired").output)
    assert [device["isConnected"] for device in listed] == [False], listed
    world.power(True)
    run = world.worker("connect", world.keyboard.address)
    assert run.status == 0, run
    assert world.keyboard.state()["serves"], "the keyboard serves nobody"


def test_an_adapter_that_is_missing_is_off(world):
    world.pair_and_connect()
    world.adapters[0].unplug()
    expect_off(world)
    run = world.worker("listPaired")
    assert (run.status, run.output) == (0, "[]"), run
    world.adapters[0].plug_in()
    world.await_power(world.adapters[0])
    assert len(json.loads(world.worker("listPaired").output)) == 1, "the bond is gone"


def test_an_adapter_switched_off_in_the_middle(world):
    worker = begin_connecting(world, "hangs-on-connect")
    world.power(False)
    world.keyboard.behave("normal")
    run = worker.finish()
    assert run.status == 1 and run.error == "Connect failed\n", run
    world.power(True)
    assert world.worker("connect", world.keyboard.address).status == 0


def test_an_adapter_unplugged_in_the_middle(world):
    worker = begin_connecting(world, "hangs-on-connect")
    world.adapters[0].unplug()
    world.keyboard.behave("normal")
    run = worker.finish()
    assert run.status == 1 and run.error == "Connect failed\n", run
    world.adapters[0].plug_in()
    world.await_power(world.adapters[0])
    run = world.worker("connect", world.keyboard.address)
    assert run.status == 0, run


def test_of_two_adapters_the_chosen_one_is_used(world):
    world.adapters[1].plug_in()
    world.await_power(world.adapters[1])
    first, second = (adapter.address for adapter in world.adapters[:2])
    run = world.worker("connect", world.keyboard.address, second)
    assert run.status == 0, run
    assert world.keyboard.state()["serves"] == second
    path = device_path(world.bluez.adapter_path(first), world.keyboard.address)
    assert not world.bluez.devices().get(path, {}).get("Paired"), "paired with the wrong adapter"
    assert json.loads(world.worker("listPaired", adapter=first).output) == []
    assert len(json.loads(world.worker("listPaired", adapter=second.lower()).output)) == 1
    expect_off(world, "00:AA:01:EE:00:42")
    run = world.worker("unregister", world.keyboard.address, second)
    assert run.status == 0, run


def test_without_a_choice_the_powered_adapter_is_used(world):
    world.adapters[1].plug_in()
    world.await_power(world.adapters[1])
    world.power(False, adapter=0)
    world.pair_and_connect()
    assert world.keyboard.state()["serves"] == world.adapters[1].address
