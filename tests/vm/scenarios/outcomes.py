"""Each of the worker's three commands in every outcome that a radio can produce, to the letter."""
import json

from bluez import DEVICE, device_path

NOWHERE = "00:AA:01:EE:00:42"


def hyphened(address):
    return address.replace(":", "-")


def expect(run, status, error="", output=None):
    assert (run.status, run.error) == (status, error), f"{run}, wanted status {status} and {error!r}"
    if output is not None:
        assert run.output == output, f"{run.output!r}, wanted {output!r}"


def attempts(run):
    return [line for line in run.output.splitlines() if line.startswith("Attempt")]


def test_connect_finds_pairs_and_connects(world):
    run = world.worker("connect", world.keyboard.address)
    expect(run, 0)
    assert attempts(run) == ["Attempt 1: openConnection=0, connected=true"], run.output
    device = world.device()
    assert device["Paired"] and device["Trusted"] and device["Connected"], dict(device)
    assert world.keyboard.state()["serves"] == world.adapters[0].address
    world.expect_within(5, world.input_devices, "no input device")


def test_connect_takes_hyphens_and_white_space(world):
    expect(world.worker("connect", f"  {hyphened(world.keyboard.address).lower()}\n"), 0)


def test_connect_of_a_connected_device(world):
    world.pair_and_connect()
    expect(world.worker("connect", world.keyboard.address), 0, output="Already connected\n")


def test_connect_of_a_paired_device(world):
    world.pair_and_connect()
    answer = world.bluez.call(device_path(world.adapter, world.keyboard.address), DEVICE, "Disconnect")
    assert not answer.error, f"Disconnect: {answer}"
    run = world.worker("connect", world.keyboard.address)
    expect(run, 0, output="Not in range yet\nAttempt 1: openConnection=0, connected=true\n")


def test_connect_of_a_device_that_was_removed(world):
    world.pair_and_connect()
    expect(world.worker("unregister", world.keyboard.address), 0)
    expect(world.worker("connect", world.keyboard.address), 0)
    assert world.keyboard.state()["serves"] == world.adapters[0].address


def test_connect_of_an_unknown_device(world):
    run = world.worker("connect", NOWHERE)
    expect(run, 66, "Device not found\n", "")
    assert 5 < run.seconds < 12, f"{run.seconds} s"


def test_connect_of_a_device_that_sleeps(world):
    world.pair_and_connect()
    world.keyboard.behave("asleep")
    world.keyboard.order("drop")
    world.expect_within(10, lambda: not world.device()["Connected"], "still connected")
    run = world.worker("connect", world.keyboard.address)
    expect(run, 1, "Connect failed\n")
    lines = run.output.splitlines()
    assert lines[0] == "Not in range yet" and len(attempts(run)) == 5, run.output
    assert all(line.endswith("connected=false") for line in lines[1:]), run.output


def test_connect_of_a_device_that_refuses_to_pair(world):
    world.keyboard.behave("refuses-pairing")
    run = world.worker("connect", world.keyboard.address)
    expect(run, 1, "Connect failed\n")
    assert len(attempts(run)) == 5 and "openConnection=-536870174" in run.output, run.output
    assert not (world.device() or {}).get("Paired")


def test_connect_of_a_device_that_refuses_the_connection(world):
    world.keyboard.behave("refuses-connection")
    run = world.worker("connect", world.keyboard.address)
    expect(run, 1, "Connect failed\n")
    assert len(attempts(run)) == 5, run.output


def test_connect_of_a_device_that_has_bonded_elsewhere(world):
    """Another adapter plays the other computer; our bond is worth nothing since."""
    world.adapters[1].plug_in()
    world.await_power(world.adapters[1])
    here, there = (adapter.address for adapter in world.adapters[:2])
    expect(world.worker("connect", world.keyboard.address, here), 0)
    world.keyboard.order("drop")
    expect(world.worker("connect", world.keyboard.address, there), 0)
    expect(world.worker("unregister", world.keyboard.address, there), 0)
    world.expect_within(10, lambda: not world.keyboard.state()["host"], "the keyboard is not free")
    expect(world.worker("connect", world.keyboard.address, here), 0)
    assert world.keyboard.state()["serves"] == here


def test_unregister_of_a_connected_device(world):
    world.pair_and_connect()
    expect(world.worker("unregister", world.keyboard.address), 0, output="Removed pairing\n")
    assert world.device() is None
    world.expect_within(10, lambda: not world.keyboard.state()["host"], "the keyboard is not free")
    world.expect_within(5, lambda: not world.input_devices(), "the input device stays")


def test_unregister_of_a_device_out_of_range(world):
    world.pair_and_connect()
    world.keyboard.behave("asleep")
    world.keyboard.order("drop")
    world.expect_within(10, lambda: not world.device()["Connected"], "still connected")
    expect(world.worker("unregister", world.keyboard.address), 0, output="Removed pairing\n")
    assert world.device() is None


def test_unregister_of_an_unknown_device(world):
    run = world.worker("unregister", world.keyboard.address)
    expect(run, 66, "Device not found\n", "")


def test_list_paired_devices(world):
    expect(world.worker("listPaired"), 0, output="[]")
    world.pair_and_connect()
    listed = json.loads(world.worker("listPaired").output)
    assert listed == [{"id": hyphened(world.keyboard.address), "name": "Keyboard", "isConnected": True}], listed
    world.bluez.call(device_path(world.adapter, world.keyboard.address), DEVICE, "Disconnect")
    assert json.loads(world.worker("listPaired").output)[0]["isConnected"] is False


def test_a_name_that_is_no_text_can_be_listed(world):
    """So nothing brings about status 65: the bus carries only UTF-8, and the daemon makes that of every name."""
    world.keyboard.order("name 4bff80c328")
    world.pair_and_connect()
    run = world.worker("listPaired")
    expect(run, 0)
    listed = json.loads(run.output)
    assert len(listed) == 1 and listed[0]["name"].startswith("K"), listed


def test_bad_arguments(world):
    expect(world.worker("CONNECT", world.keyboard.address), 64, "Invalid Bluetooth worker arguments\n", "")
    for text in ("", " \n"):
        expect(world.worker("connect", text), 64, "Missing Bluetooth device address\n", "")
        expect(world.worker("unregister", text), 64, "Missing Bluetooth device address\n", "")
