#!/usr/bin/env python3
"""A Bluetooth Classic keyboard made of nothing: it is found, paired and connected like a real one, and its keys can be
pressed from outside.

  keyboard.py RADIO CONTROL NAME    RADIO: the socket of btvirt; CONTROL: the socket on which it takes orders

Like the real ones it talks to one computer at a time, is deaf to others meanwhile, remembers only the last bond, and
takes a new computer while it still has an old bond. Each order is one line and is answered by one line of JSON; see
the methods named order_*.
"""
import json
import pathlib
import selectors
import socket
import struct
import sys
import time

from hci import ACL, ACL_START, EVENT, HciLink, address_octets, address_text
from l2cap import NOT_SUPPORTED_PSM, REFUSED_BY_SECURITY, L2capLink
from sdp import SdpServer

PSM_SDP, PSM_CONTROL, PSM_INTERRUPT = 1, 0x11, 0x13
CLASS_KEYBOARD = 0x002540
CAPABILITIES = bytes([3, 0, 4])  # no input, no output; no data from elsewhere; bonding wanted
BEHAVIOURS = ("normal", "asleep", "refuses-pairing", "hangs-on-pair", "hangs-on-connect", "refuses-connection")

RESET, WRITE_NAME, WRITE_CLASS, WRITE_SSP, WRITE_SCAN = 0x0C03, 0x0C13, 0x0C24, 0x0C56, 0x0C1A
WRITE_INQUIRY_RESPONSE, READ_ADDRESS, EVENT_MASK = 0x0C52, 0x1009, 0x0C01
CREATE_CONNECTION, DISCONNECT, ACCEPT, AUTHENTICATE, ENCRYPT = 0x0405, 0x0406, 0x0409, 0x0411, 0x0413
KEY_REPLY, NO_KEY_REPLY, CAPABILITY_REPLY, CONFIRM, DENY = 0x040B, 0x040C, 0x042B, 0x042C, 0x042D


class Keyboard:
    def __init__(self, radio_socket, name):
        self.hci = HciLink(radio_socket)
        self.name = name
        self.behaviour = "normal"
        self.address = None
        self.handle = self.host = self.l2cap = None
        self.bond = None  # (host, key)
        self.is_caller = False
        self.last_pairing = None
        self._unanswered = []  # questions of a pairing that it left open
        self._set_up()

    def _set_up(self):
        self.hci.command(RESET)
        self.hci.command(EVENT_MASK, b"\xff" * 7 + b"\x1f")
        self.hci.command(READ_ADDRESS)
        self._call_itself(self.name.encode())
        self.hci.command(WRITE_CLASS, struct.pack("<I", CLASS_KEYBOARD)[:3])
        self.hci.command(WRITE_SSP, b"\1")
        self._listen()

    def _call_itself(self, name):
        self.hci.command(WRITE_NAME, name.ljust(248, b"\0"))
        self.hci.command(WRITE_INQUIRY_RESPONSE, b"\0" + (bytes([len(name) + 1, 9]) + name).ljust(240, b"\0"))

    def _listen(self):
        can_be_found = self.behaviour != "asleep" and self.handle is None
        self.hci.command(WRITE_SCAN, b"\3" if can_be_found else b"\0")

    def _note(self, what):
        print(f"{time.strftime('%H:%M:%S')} {self.name}: {what}", flush=True)

    # What the radio tells.

    def on_packet(self, kind, content):
        if kind == ACL:
            self._on_data(content)
        elif kind == EVENT:
            handler = getattr(self, f"_on_event_{content[0]:02x}", None)
            if handler:
                handler(content[2:])

    def _on_data(self, content):
        header, length = struct.unpack_from("<HH", content)
        if self.l2cap and header & 0x0FFF == self.handle:
            self.l2cap.acl(header >> 12 & 3 == ACL_START, content[4 : 4 + length])

    def _on_event_0e(self, data):  # command complete
        if struct.unpack_from("<H", data, 1)[0] == READ_ADDRESS:
            self.address = address_text(data[4:10])
            self._note(f"is {self.address}")

    def _on_event_04(self, data):  # connection request
        self.hci.command(ACCEPT, data[:6] + b"\1")

    def _on_event_03(self, data):  # connection complete
        status, handle = struct.unpack_from("<BH", data)
        if status:
            self._pairing_ended(f"no connection, status {status}")
            return
        self.handle, self.host = handle, address_text(data[3:9])
        self.l2cap = L2capLink(self, lambda payload: self.hci.data(handle, payload))
        self._note(f"linked to {self.host}")
        self._listen()
        if self.is_caller:
            self.hci.command(AUTHENTICATE, struct.pack("<H", handle))

    def _on_event_05(self, data):  # disconnection complete
        is_ours = struct.unpack_from("<H", data, 1)[0] == self.handle
        if data[0] == 0 and not is_ours:
            return
        self._note(f"link to {self.host} ended, reason {data[3]}")
        self._pairing_ended(f"link ended, reason {data[3]}")
        self.handle = self.host = self.l2cap = None
        self._unanswered.clear()
        self._listen()

    def _on_event_17(self, data):  # link key request
        host = address_text(data[:6])
        if self.bond and self.bond[0] == host:
            self.hci.command(KEY_REPLY, data[:6] + self.bond[1])
        else:
            self.hci.command(NO_KEY_REPLY, data[:6])

    def _on_event_31(self, data):  # capabilities wanted
        self._answer_pairing(lambda: self.hci.command(CAPABILITY_REPLY, data[:6] + CAPABILITIES))

    def _on_event_33(self, data):  # confirmation wanted
        verdict = DENY if self.behaviour == "refuses-pairing" else CONFIRM
        self._answer_pairing(lambda: self.hci.command(verdict, data[:6]))

    def _answer_pairing(self, answer):
        if self.behaviour == "hangs-on-pair":
            self._unanswered.append(answer)
        else:
            answer()

    def _on_event_18(self, data):  # new link key
        self.bond = (address_text(data[:6]), data[6:22])
        self._note(f"bonded with {self.bond[0]}")

    def _on_event_06(self, data):  # authentication complete
        self._pairing_ended("paired" if data[0] == 0 else f"refused, status {data[0]}")

    def _pairing_ended(self, outcome):
        if self.is_caller:
            self.is_caller, self.last_pairing = False, outcome
            self._note(f"own pairing: {outcome}")

    # What the link asks.

    def channel_wanted(self, psm):
        if psm == PSM_SDP:
            return 0
        if psm not in (PSM_CONTROL, PSM_INTERRUPT):
            return NOT_SUPPORTED_PSM
        if self.behaviour == "hangs-on-connect":
            return None
        return REFUSED_BY_SECURITY if self.behaviour == "refuses-connection" else 0

    def channel_opened(self, channel):
        if channel.psm == PSM_INTERRUPT:
            self._note(f"serves {self.host}")

    def channel_closed(self, channel):
        if channel.psm == PSM_INTERRUPT:
            self._note(f"no longer serves {self.host}")

    def received(self, channel, payload):
        if channel.psm == PSM_SDP:
            self.l2cap.send(channel, SdpServer(self.name).answer(payload))
        elif channel.psm == PSM_CONTROL and payload and payload[0] >> 4 in (3, 4, 5, 6, 7):
            self.l2cap.send(channel, b"\0")  # handshake: successful
        elif channel.psm == PSM_CONTROL and payload and payload[0] == 0x15:
            self._note("unplugged by its host")
            self.bond = None

    # What it is told to do.

    def is_serving(self):
        return bool(self.l2cap and self.l2cap.channel(PSM_INTERRUPT))

    def order_state(self):
        return {
            "address": self.address,
            "host": self.host,
            "serves": self.host if self.is_serving() else None,
            "bond": self.bond and self.bond[0],
            "behaviour": self.behaviour,
            "pairing": self.last_pairing,
        }

    def order_behave(self, behaviour):
        if behaviour not in BEHAVIOURS:
            return {"error": f"one of {', '.join(BEHAVIOURS)}"}
        self.behaviour = behaviour
        if behaviour != "hangs-on-pair":
            questions, self._unanswered = self._unanswered, []
            for answer in questions:
                answer()
        if self.l2cap:
            self.l2cap.answer_waiting()
        self._listen()
        return {}

    def order_name(self, octets=None):
        """Calls itself by these octets, which need be no text; without any, by its own name."""
        self._call_itself(bytes.fromhex(octets) if octets else self.name.encode())
        return {}

    def order_forget(self):
        self.bond = None
        return {}

    def order_press(self, usage="4"):
        """Presses and releases a key, by its number in the table of HID usages (4 is A)."""
        if not self.is_serving():
            return {"error": "no computer listens"}
        channel = self.l2cap.channel(PSM_INTERRUPT)
        self.l2cap.send(channel, bytes([0xA1, 0, 0, int(usage), 0, 0, 0, 0, 0]))
        self.l2cap.send(channel, bytes([0xA1, 0, 0, 0, 0, 0, 0, 0, 0]))
        return {"host": self.host}

    def order_drop(self):
        """Ends its link, as when the battery is taken out."""
        if self.handle is not None:
            self.hci.command(DISCONNECT, struct.pack("<HB", self.handle, 0x13))
        return {}

    def order_pair(self, host):
        """Asks a computer to pair; state tells later what came of it."""
        self.is_caller, self.last_pairing = True, None
        self.hci.command(CREATE_CONNECTION, address_octets(host) + struct.pack("<HBBHB", 0xCC18, 2, 0, 0, 1))
        return {}

    def order(self, line):
        name, *arguments = line.split()
        method = getattr(self, f"order_{name}", None)
        return method(*arguments) if method else {"error": f"no such order: {name}"}


class ControlServer:
    """Takes orders from any number of connections."""

    def __init__(self, path, keyboard, selector):
        self._keyboard, self._selector = keyboard, selector
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.bind(path + ".new")
        self._socket.listen()
        pathlib.Path(path + ".new").rename(path)  # whoever sees it can connect
        selector.register(self._socket, selectors.EVENT_READ, self._accept)

    def _accept(self):
        connection, _ = self._socket.accept()
        held = bytearray()
        self._selector.register(connection, selectors.EVENT_READ, lambda: self._read(connection, held))

    def _read(self, connection, held):
        try:
            chunk = connection.recv(4096)
            held += chunk
            while b"\n" in held:
                line, _, rest = bytes(held).partition(b"\n")
                held[:] = rest
                answer = self._keyboard.order(line.decode()) if line.strip() else {}
                connection.sendall(json.dumps(answer).encode() + b"\n")
        except OSError:
            chunk = b""
        if not chunk:
            self._selector.unregister(connection)
            connection.close()


def main():
    radio, control, name = sys.argv[1:4]
    keyboard = Keyboard(radio, name)
    selector = selectors.DefaultSelector()

    def on_radio():
        for kind, content in keyboard.hci.receive():
            keyboard.on_packet(kind, content)

    selector.register(keyboard.hci, selectors.EVENT_READ, on_radio)
    ControlServer(control, keyboard, selector)
    while True:
        for key, _ in selector.select():
            key.data()


if __name__ == "__main__":
    try:
        main()
    except (EOFError, KeyboardInterrupt):
        pass
