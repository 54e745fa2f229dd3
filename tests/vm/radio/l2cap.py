"""Channels on one link of a stand-in device: as much of L2CAP as BlueZ needs to talk to a keyboard."""
import struct

SIGNALLING, FIRST_CHANNEL = 1, 0x40
REQUEST_CONNECT, ANSWER_CONNECT, REQUEST_CONFIGURE, ANSWER_CONFIGURE = 2, 3, 4, 5
REQUEST_DISCONNECT, ANSWER_DISCONNECT, REQUEST_ECHO, ANSWER_ECHO = 6, 7, 8, 9
REQUEST_INFORMATION, ANSWER_INFORMATION, REJECT = 10, 11, 1
NOT_SUPPORTED_PSM, REFUSED_BY_SECURITY, REFUSED_NO_RESOURCES = 2, 3, 4


class Channel:
    def __init__(self, psm, local, remote):
        self.psm, self.local, self.remote = psm, local, remote
        self.is_ours_agreed = self.is_theirs_agreed = False

    @property
    def is_open(self):
        return self.is_ours_agreed and self.is_theirs_agreed


class L2capLink:
    """`owner` decides who may connect: channel_wanted(psm) is None to let them wait, else a result; it hears of
    channels with channel_opened, channel_closed and received."""

    def __init__(self, owner, send):
        self._owner, self._send_acl = owner, send
        self._channels = {}
        self._waiting = []
        self._identifier = 0
        self._partial = b""

    def channel(self, psm):
        return next((c for c in self._channels.values() if c.psm == psm and c.is_open), None)

    def send(self, channel, payload):
        self._send_frame(channel.remote, payload)

    def disconnect(self, channel):
        self._signal(REQUEST_DISCONNECT, struct.pack("<HH", channel.remote, channel.local))

    def acl(self, is_start, data):
        self._partial = data if is_start else self._partial + data
        if len(self._partial) < 4:
            return
        length, cid = struct.unpack_from("<HH", self._partial)
        if len(self._partial) < 4 + length:
            return
        frame, self._partial = self._partial[4 : 4 + length], b""
        if cid == SIGNALLING:
            self._take_signals(frame)
        elif cid in self._channels:
            self._owner.received(self._channels[cid], frame)

    def _send_frame(self, cid, payload):
        self._send_acl(struct.pack("<HH", len(payload), cid) + payload)

    def _signal(self, code, data, identifier=None):
        if identifier is None:
            self._identifier = self._identifier % 255 + 1
            identifier = self._identifier
        self._send_frame(SIGNALLING, struct.pack("<BBH", code, identifier, len(data)) + data)

    def _take_signals(self, frame):
        while len(frame) >= 4:
            code, identifier, length = struct.unpack_from("<BBH", frame)
            self._take_signal(code, identifier, frame[4 : 4 + length])
            frame = frame[4 + length :]

    def _take_signal(self, code, identifier, data):
        handlers = {
            REQUEST_CONNECT: self._on_connect,
            REQUEST_CONFIGURE: self._on_configure,
            ANSWER_CONFIGURE: self._on_configured,
            REQUEST_DISCONNECT: self._on_disconnect,
            ANSWER_DISCONNECT: self._on_disconnected,
            REQUEST_INFORMATION: self._on_information,
            REQUEST_ECHO: lambda i, d: self._signal(ANSWER_ECHO, d, i),
            ANSWER_CONNECT: lambda i, d: None,
            ANSWER_INFORMATION: lambda i, d: None,
            REJECT: lambda i, d: None,
        }
        unknown = lambda i, d: self._signal(REJECT, b"\0\0", i)  # noqa: E731
        handlers.get(code, unknown)(identifier, data)

    def answer_waiting(self):
        """Asks the owner again about those who had to wait."""
        waiting, self._waiting = self._waiting, []
        for identifier, data in waiting:
            self._on_connect(identifier, data)

    def _on_connect(self, identifier, data):
        psm, remote = struct.unpack("<HH", data)
        result = self._owner.channel_wanted(psm)
        if result is None:
            self._waiting.append((identifier, data))
            return
        local = next(cid for cid in range(FIRST_CHANNEL, 0xFFFF) if cid not in self._channels)
        self._signal(ANSWER_CONNECT, struct.pack("<HHHH", local if result == 0 else 0, remote, result, 0), identifier)
        if result == 0:
            self._channels[local] = Channel(psm, local, remote)
            self._signal(REQUEST_CONFIGURE, struct.pack("<HHBBH", remote, 0, 1, 2, 672))

    def _on_configure(self, identifier, data):
        cid, _ = struct.unpack_from("<HH", data)
        if channel := self._channels.get(cid):
            self._signal(ANSWER_CONFIGURE, struct.pack("<HHH", channel.remote, 0, 0), identifier)
            channel.is_theirs_agreed = True
            self._tell_if_open(channel)

    def _on_configured(self, _, data):
        cid, _, result = struct.unpack_from("<HHH", data)
        if (channel := self._channels.get(cid)) and result == 0:
            channel.is_ours_agreed = True
            self._tell_if_open(channel)

    def _tell_if_open(self, channel):
        if channel.is_open:
            self._owner.channel_opened(channel)

    def _on_disconnect(self, identifier, data):
        local, remote = struct.unpack("<HH", data)
        self._signal(ANSWER_DISCONNECT, struct.pack("<HH", local, remote), identifier)
        self._close(local)

    def _on_disconnected(self, _, data):
        self._close(struct.unpack("<HH", data)[1])

    def _close(self, cid):
        if channel := self._channels.pop(cid, None):
            self._owner.channel_closed(channel)

    def _on_information(self, identifier, data):
        kind = struct.unpack("<H", data)[0]
        answers = {2: struct.pack("<HHI", 2, 0, 0x80), 3: struct.pack("<HHQ", 3, 0, 0x02)}
        self._signal(ANSWER_INFORMATION, answers.get(kind, struct.pack("<HH", kind, 1)), identifier)
