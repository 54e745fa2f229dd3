"""The service record of a keyboard, and the answers to those who ask for it (Service Discovery Protocol)."""
import struct

HID, L2CAP, HIDP, PUBLIC_BROWSE, PNP = 0x1124, 0x0100, 0x0011, 0x1002, 0x1200

# A keyboard with the boot layout: eight modifier keys, a reserved octet, six keys.
REPORT_DESCRIPTOR = bytes.fromhex(
    "05010906a101050719e029e71500250175019508810295017508810395067508150025650507190029658100c0"
)


def u8(value):
    return struct.pack(">BB", 0x08, value)


def u16(value):
    return struct.pack(">BH", 0x09, value)


def uuid(value):
    return struct.pack(">BH", 0x19, value)


def boolean(value):
    return struct.pack(">BB", 0x28, value)


def text(value):
    data = value if isinstance(value, bytes) else value.encode()
    return struct.pack(">BB", 0x25, len(data)) + data


def sequence(*elements):
    data = b"".join(elements)
    return struct.pack(">BH", 0x36, len(data)) + data


def keyboard_record(name):
    return {
        0x0000: struct.pack(">BI", 0x0A, 0x00010001),
        0x0001: sequence(uuid(HID)),
        0x0004: sequence(sequence(uuid(L2CAP), u16(0x11)), sequence(uuid(HIDP))),
        0x0005: sequence(uuid(PUBLIC_BROWSE)),
        0x0006: sequence(u16(0x656E), u16(0x006A), u16(0x0100)),
        0x0009: sequence(sequence(uuid(HID), u16(0x0101))),
        0x000D: sequence(sequence(sequence(uuid(L2CAP), u16(0x13)), sequence(uuid(HIDP)))),
        0x0100: text(name),
        0x0200: u16(0x0100),
        0x0201: u16(0x0111),
        0x0202: u8(0x40),
        0x0203: u8(0x00),
        0x0204: boolean(True),
        0x0205: boolean(True),
        0x0206: sequence(sequence(u8(0x22), text(REPORT_DESCRIPTOR))),
        0x0207: sequence(sequence(u16(0x0409), u16(0x0100))),
        0x020B: u16(0x0100),
        0x020C: u16(0x0C80),
        0x020D: boolean(True),
        0x020E: boolean(True),
    }


class SdpServer:
    """Answers requests about one record. Long answers are handed out in pieces."""

    HANDLE = 0x00010001

    def __init__(self, name):
        self._record = keyboard_record(name)
        self._uuids = {HID, L2CAP, HIDP, PUBLIC_BROWSE}

    def answer(self, request):
        kind, transaction = struct.unpack_from(">BH", request)
        body = request[5:]
        if kind == 0x02:
            return self._reply(0x03, transaction, self._search(body))
        if kind == 0x04:
            return self._reply(0x05, transaction, self._attributes(body[4:]))
        if kind == 0x06:
            return self._reply(0x07, transaction, self._search_attributes(body))
        return self._reply(0x01, transaction, struct.pack(">H", 0x0003))

    def _reply(self, kind, transaction, body):
        return struct.pack(">BHH", kind, transaction, len(body)) + body

    def _matches(self, pattern):
        return any(wanted in self._uuids for wanted in uuids_in(pattern))

    def _search(self, body):
        pattern, _ = take_element(body)
        found = [self.HANDLE] if self._matches(pattern) else []
        return struct.pack(">HH", len(found), len(found)) + b"".join(struct.pack(">I", h) for h in found) + b"\0"

    def _attributes(self, body):
        return self._piece(self._listing(ranges_in(take_element(body[2:])[0])), body)

    def _search_attributes(self, body):
        pattern, rest = take_element(body)
        listing = self._listing(ranges_in(take_element(rest[2:])[0])) if self._matches(pattern) else b""
        return self._piece(sequence(listing), rest)

    def _listing(self, ranges):
        wanted = [key for key in sorted(self._record) if any(low <= key <= high for low, high in ranges)]
        return sequence(*(u16(key) + self._record[key] for key in wanted))

    def _piece(self, whole, request):
        """request: the greatest length, the attribute list, the state at which the last piece ended."""
        limit = struct.unpack_from(">H", request)[0]
        _, state = take_element(request[2:])
        begin = struct.unpack_from(">H", state, 1)[0] if state[:1] == b"\x02" else 0
        piece = whole[begin : begin + min(limit, 400)]
        end = begin + len(piece)
        more = struct.pack(">BH", 2, end) if end < len(whole) else b"\0"
        return struct.pack(">H", len(piece)) + piece + more


def take_element(data):
    """The content of the data element at the beginning, and what follows it."""
    size = {0: 1, 1: 2, 2: 4, 3: 8, 4: 16}.get(data[0] & 7)
    if size is not None:
        return data[1 : 1 + size], data[1 + size :]
    width = {5: 1, 6: 2, 7: 4}[data[0] & 7]
    length = int.from_bytes(data[1 : 1 + width], "big")
    return data[1 + width : 1 + width + length], data[1 + width + length :]


def uuids_in(pattern):
    """The short forms of the UUIDs in a list."""
    while pattern:
        value, pattern = take_element(pattern)
        yield int.from_bytes(value[:4] if len(value) > 2 else value, "big")


def ranges_in(attributes):
    """The attribute ids and ranges of ids in a list, as pairs."""
    ranges = []
    while attributes:
        value, attributes = take_element(attributes)
        ranges.append((value[:2], value[2:]) if len(value) == 4 else (value, value))
    return [(int.from_bytes(low, "big"), int.from_bytes(high, "big")) for low, high in ranges]
