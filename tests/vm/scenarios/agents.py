"""Other programs' agents, and devices that ask to pair while the worker is at it."""
from agent import register, withdraw
from bluez import ADAPTER
from misfortune import begin_connecting
from pump import wait_until

PAIRING_LIMIT = 30.0
REFUSALS = ("refused", "link ended")


def stranger_asks_to_pair(world):
    """What came of it."""
    answer = world.bluez.set_property(world.adapter, ADAPTER, "Discoverable", True)
    assert not answer.error, f"Discoverable: {answer}"
    world.stranger.order(f"pair {world.adapters[0].address}")
    wait_until(lambda: world.stranger.state()["pairing"], PAIRING_LIMIT)
    return world.stranger.state()["pairing"]


def is_stranger_bonded(world):
    device = world.bluez.device(world.adapter, world.stranger.address)
    return bool(device and device["Bonded"])


def test_the_default_agent_is_not_disturbed(world):
    agent = register(world)
    try:
        world.pair_and_connect()
        assert agent.asked == [], agent.asked
        outcome = stranger_asks_to_pair(world)
        assert outcome == "paired" and agent.asked, f"no longer the default agent: {outcome}, {agent.asked}"
    finally:
        withdraw(world, agent)


def test_a_stranger_is_refused_during_a_pairing(world):
    worker = begin_connecting(world, "hangs-on-pair")
    outcome = stranger_asks_to_pair(world)
    assert outcome and outcome.startswith(REFUSALS), outcome
    assert not is_stranger_bonded(world)
    worker.kill()
    world.keyboard.behave("normal")
    assert world.worker("connect", world.keyboard.address).status == 0


def test_a_stranger_is_refused_during_a_connection(world):
    worker = begin_connecting(world, "hangs-on-connect")
    outcome = stranger_asks_to_pair(world)
    worker.kill()
    assert outcome and outcome.startswith(REFUSALS), outcome
    assert not is_stranger_bonded(world)


