"""The pairing agent of a desktop."""
import dbus
import dbus.service

from bluez import AGENT_MANAGER

AGENT = "org.bluez.Agent1"


class DesktopAgent(dbus.service.Object):
    """Says yes to everything, or no, and notes what it was asked."""

    PATH = "/vm/agent"

    def __init__(self, bus):
        super().__init__(bus, self.PATH)
        self.asked = []
        self.refuses = False

    def _answer(self, question, device):
        self.asked.append((question, str(device)))
        if self.refuses:
            raise dbus.DBusException("no", name="org.bluez.Error.Rejected")

    @dbus.service.method(AGENT, "o")
    def RequestAuthorization(self, device):
        self._answer("RequestAuthorization", device)

    @dbus.service.method(AGENT, "ou")
    def RequestConfirmation(self, device, _):
        self._answer("RequestConfirmation", device)

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
