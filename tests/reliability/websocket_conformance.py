"""RFC 6455 cases against the endpoint; deliberate differences are marked as such."""
import base64
import hashlib
import os
import struct
import sys

from server_process import Server

ACCEPT_GUID = b"258EAFA5-E914-47DA-95CA-C5AB0DC85B11"
TEXT, BINARY, CLOSE, PING, PONG = 1, 2, 8, 9, 10


def frame(opcode, payload, fin=True, mask=b"\x11\x22\x33\x44", reserved=0):
    size = len(payload)
    if size < 126:
        length = struct.pack("!B", size | (0x80 if mask else 0))
    elif size < 65536:
        length = struct.pack("!BH", 126 | (0x80 if mask else 0), size)
    else:
        length = struct.pack("!BQ", 127 | (0x80 if mask else 0), size)
    body = bytes(byte ^ mask[i % 4] for i, byte in enumerate(payload)) if mask else payload
    return bytes([(0x80 if fin else 0) | reserved | opcode]) + length + (mask or b"") + body


class Client:
    def __init__(self, server):
        self.connection = server.connect(10)
        self.buffer = b""

    def handshake(self, key=None, version=b"13", protocol=None):
        # A token of its own: the host's echo goes to the oldest connection of a token.
        protocol = b"token-" + os.urandom(6).hex().encode() if protocol is None else protocol
        self.protocol = protocol
        key = key if key is not None else base64.b64encode(os.urandom(16))
        self.key = key
        self.connection.sendall(b"GET /ws HTTP/1.1\r\nHost: d\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
                                + (b"Sec-WebSocket-Version: " + version + b"\r\n" if version else b"")
                                + (b"Sec-WebSocket-Key: " + key + b"\r\n" if key else b"")
                                + (b"Sec-WebSocket-Protocol: " + protocol + b"\r\n" if protocol else b"") + b"\r\n")
        while b"\r\n\r\n" not in self.buffer:
            piece = self.receive()
            if not piece:
                break
        head, _, self.buffer = self.buffer.partition(b"\r\n\r\n")
        return head

    def receive(self):
        try:
            piece = self.connection.recv(65536)
        except ConnectionResetError:
            piece = b""
        self.buffer += piece
        return piece

    def exactly(self, size):
        while len(self.buffer) < size:
            if not self.receive():
                return None
        taken, self.buffer = self.buffer[:size], self.buffer[size:]
        return taken

    def next_frame(self):
        """(first byte, payload), or None at the end of the connection."""
        head = self.exactly(2)
        if head is None:
            return None
        size = head[1] & 127
        if size == 126:
            size = struct.unpack("!H", self.exactly(2))[0]
        elif size == 127:
            size = struct.unpack("!Q", self.exactly(8))[0]
        return head[0], self.exactly(size)

    def send(self, *frames):
        self.connection.sendall(b"".join(frames))


# What the server sends for these frames, a text "end" following them: the host echoes every text.
END = (0x81, b"end")
LONG = {size: b"x" * size for size in (0, 1, 125, 126, 127, 65535, 65536, 70000)}
FRAMES = [
    *[(f"text of {size} bytes", [frame(TEXT, data)], [(0x81, data), END]) for size, data in LONG.items()],
    ("mask of zeros", [frame(TEXT, b"abc", mask=b"\0\0\0\0")], [(0x81, b"abc"), END]),
    ("valid UTF-8", [frame(TEXT, "κόσμε".encode())], [(0x81, "κόσμε".encode()), END]),
    ("two frames in one packet", [frame(TEXT, b"a") + frame(TEXT, b"b")], [(0x81, b"a"), (0x81, b"b"), END]),
    ("ping", [frame(PING, b"payload")], [(0x8A, b"payload"), END]),
    ("empty ping", [frame(PING, b"")], [(0x8A, b""), END]),
    ("ping of 125 bytes", [frame(PING, b"p" * 125)], [(0x8A, b"p" * 125), END]),
    ("unsolicited pong", [frame(PONG, b"x")], [END]),
    ("binary: noted, not delivered", [frame(BINARY, b"\0\1")], [END]),
    # Deliberate differences.
    ("different: only the first fragment is delivered", [frame(TEXT, b"he", fin=False), frame(0, b"llo")], [(0x81, b"he"), END]),
    ("different: an unmasked frame is taken", [frame(TEXT, b"bare", mask=b"")], [(0x81, b"bare"), END]),
    ("different: text is not checked for UTF-8", [frame(TEXT, b"\xff\xfe")], [(0x81, b"\xff\xfe"), END]),
    ("different: reserved bits are not looked at", [frame(TEXT, b"r", reserved=0x40)], [(0x81, b"r"), END]),
    ("different: unknown opcodes are noted only", [frame(3, b"?")], [END]),
    ("different: a continuation without a start is dropped", [frame(0, b"?")], [END]),
    ("different: a close is answered by the end of the connection", [frame(CLOSE, struct.pack("!H", 1000))], [None]),
    ("different: no code 1007 for a broken close", [frame(CLOSE, b"\x03")], [None]),
]

GOOD_KEY = base64.b64encode(b"k" * 16)
# Arguments of the handshake and the beginning of the answer; nothing at all for a refused connection.
HANDSHAKES = [
    ("a good one", {}, b"HTTP/1.1 101 "),
    ("without a token", {"protocol": b""}, b""),
    ("version 12 is refused by a whole reply", {"version": b"12"}, b"HTTP/1.1 426 Upgrade Required\r\n"),
    ("key of 64 characters", {"key": b"k" * 64}, b""),
    ("a missing key is refused by a whole reply", {"key": b""}, b"HTTP/1.1 400 Bad Request\r\n"),
]


def accept_of(key):
    return base64.b64encode(hashlib.sha1(key + ACCEPT_GUID).digest())


def check_frames(server, frames, expected):
    client = Client(server)
    head = client.handshake()
    assert b"Sec-WebSocket-Accept: " + accept_of(client.key) in head, head
    assert b"Sec-WebSocket-Protocol: " + client.protocol in head, head
    client.send(*frames, frame(TEXT, b"end"))
    got = [client.next_frame() for _ in expected]
    assert got == expected, f"got {str(got)[:120]}"
    client.connection.close()


def check_handshake(server, arguments, expected):
    client = Client(server)
    head = client.handshake(**arguments)
    assert head == b"" if expected == b"" else head.startswith(expected), f"got {head[:80]}"
    client.connection.close()


def main():
    server = Server()
    failed = 0
    cases = [(name, check_handshake, *rest) for name, *rest in HANDSHAKES] + [(name, check_frames, *rest) for name, *rest in FRAMES]
    for name, check, given, expected in cases:
        try:
            check(server, given, expected)
            print(f"ok     {name}")
        except (AssertionError, OSError) as error:
            failed += 1
            print(f"FAILED {name}: {error}")
    assert server.stop() == 0
    print(f"{len(cases) - failed} passed, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
