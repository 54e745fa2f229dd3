"""The pairing agent of a desktop."""
import dbus.service

from bluez import AGENT_MANAGER

AGENT = "org.bluez.Agent1"


class DesktopAgent(dbus.service.Object):
    """Says yes to everything and notes what it was asked."""

    PATH = "/vm/agent"

    def __init__(self, bus):
        super().__init__(bus, self.PATH)
        self.asked = []

    @dbus.service.method(AGENT, "o")
    def RequestAuthorization(self, device):
        self.asked.append(("RequestAuthorization", str(device)))

    @dbus.service.method(AGENT, "ou")
    def RequestConfirmation(self, device, _):
        self.asked.append(("RequestConfirmation", str(device)))

    @dbus.service.method(AGENT, "os")
    def AuthorizeService(self, device, _):
        self.asked.append(("AuthorizeService", str(device)))

    @dbus.service.method(AGENT)
    def Cancel(self):
        self.asked.append(("Cancel", ""))

    @dbus.service.method(AGENT)
    def Release(self):
        self.asked.append(("Release", ""))


def register(world, capability="DisplayYesNo"):
    agent = DesktopAgent(world.bluez.bus)
    for method, signature, arguments in (
        ("RegisterAgent", "os", (agent.PATH, capability)),
        ("RequestDefaultAgent", "o", (agent.PATH,)),
    ):
        answer = world.bluez.call("/org/bluez", AGENT_MANAGER, method, signature, *arguments)
        assert not answer.error, f"{method}: {answer}"
    return agent


def withdraw(world, agent):
    world.bluez.call("/org/bluez", AGENT_MANAGER, "UnregisterAgent", "o", agent.PATH)
    agent.remove_from_connection()
