"""The link of a stand-in device to the radio: HCI packets (H4 framing) over a unix socket of btvirt."""
import socket
import struct

COMMAND, ACL, EVENT = 1, 2, 4
ACL_START, ACL_CONTINUED = 2, 1


def packet_length(data):
    """Length of the packet at the beginning of data, or None when it cannot be known yet."""
    if len(data) >= 3 and data[0] == EVENT:
        return 3 + data[2]
    if len(data) >= 5 and data[0] == ACL:
        return 5 + struct.unpack_from("<H", data, 3)[0]
    return None


class HciLink:
    """Sends commands one at a time, as a controller wants them, and cuts what arrives into packets."""

    def __init__(self, socket_path):
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.connect(socket_path)
        self._incoming = b""
        self._waiting = []
        self._busy = False

    def fileno(self):
        return self.socket.fileno()

    def command(self, opcode, parameters=b""):
        self._waiting.append(struct.pack("<BHB", COMMAND, opcode, len(parameters)) + parameters)
        self._send_next()

    def data(self, handle, payload):
        header = struct.pack("<BHH", ACL, handle | ACL_START << 12, len(payload))
        self.socket.sendall(header + payload)

    def receive(self):
        """The packets that are there, each as (type, content); raises EOFError at the end of the link."""
        chunk = self.socket.recv(16384)
        if not chunk:
            raise EOFError("the radio is gone")
        self._incoming += chunk
        packets = []
        while (length := packet_length(self._incoming)) and length <= len(self._incoming):
            packet, self._incoming = self._incoming[:length], self._incoming[length:]
            packets.append((packet[0], packet[1:]))
            self._note_answer(packet)
        return packets

    def _note_answer(self, packet):
        if packet[0] == EVENT and packet[1] in (0x0E, 0x0F):  # command complete, command status
            self._busy = False
            self._send_next()

    def _send_next(self):
        if self._waiting and not self._busy:
            self._busy = True
            self.socket.sendall(self._waiting.pop(0))


def address_text(octets):
    return ":".join(f"{octet:02X}" for octet in reversed(octets))


def address_octets(text):
    return bytes(reversed(bytes.fromhex(text.replace(":", "").replace("-", ""))))
