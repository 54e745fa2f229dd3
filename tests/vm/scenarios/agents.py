"""Other programs' agents, and devices that ask to pair while the worker is at it."""
from agent import register, withdraw
from bluez import ADAPTER, device_path
from misfortune import begin_connecting
from pump import wait_until

PAIRING_LIMIT = 10.0


def stranger_asks_to_pair(world):
    """What came of it; None when nothing has yet, for a refusal may leave the link as it is for half a minute."""
    world.stranger.order(f"pair {world.adapters[0].address}")
    wait_until(lambda: world.stranger.state()["pairing"], PAIRING_LIMIT)
    return world.stranger.state()["pairing"]


def let_strangers_in(world):
    """As while the user looks at the Bluetooth settings. Before a call hangs, or it would wait for that call's end."""
    answer = world.bluez.set_property(world.adapter, ADAPTER, "Discoverable", True)
    assert not answer.error, f"Discoverable: {answer}"


def is_stranger_bonded(world):
    device = world.bluez.device(world.adapter, world.stranger.address)
    return bool(device and device["Bonded"])


def test_the_default_agent_is_not_disturbed(world):
    agent = register(world)
    try:
        world.pair_and_connect()
        let_strangers_in(world)
        assert agent.asked == [], agent.asked
        outcome = stranger_asks_to_pair(world)
        stranger = device_path(world.adapter, world.stranger.address)
        assert ("RequestAuthorization", stranger) in agent.asked, f"no longer the default agent: {outcome}"
    finally:
        withdraw(world, agent)


def refuse_a_stranger(world, behaviour):
    """The desktop's agent is asked, as always, and says no; ours has no say in it. (Without any default agent the kernel
    lets strangers in by itself, whether or not we are there.)"""
    agent = register(world)
    agent.refuses = True
    try:
        let_strangers_in(world)
        worker = begin_connecting(world, behaviour)
        outcome = stranger_asks_to_pair(world)
        worker.kill()
        stranger = device_path(world.adapter, world.stranger.address)
        assert ("RequestAuthorization", stranger) in agent.asked, f"{outcome}, the agent was asked {agent.asked}"
        assert outcome != "paired", outcome
        assert not is_stranger_bonded(world), "the stranger is bonded"
    finally:
        withdraw(world, agent)


def test_a_stranger_is_refused_during_a_pairing(world):
    refuse_a_stranger(world, "hangs-on-pair")


def test_a_stranger_is_refused_during_a_connection(world):
    refuse_a_stranger(world, "hangs-on-connect")
