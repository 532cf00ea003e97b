"""A client of a device's WebSocket channel."""
import base64
import json
import os
import socket
import struct
import threading

PATIENCE = 30
TEXT, BINARY, CLOSE = 1, 2, 8


def frame(payload, opcode=TEXT, final=True):
    """A client's frame."""
    size = len(payload)
    length = bytes([0x80 | size]) if size < 126 else b"\xfe" + struct.pack(">H", size) if size < 65536 else b"\xff" + struct.pack(">Q", size)
    return bytes([(0x80 if final else 0) | opcode]) + length + bytes(4) + payload


def read_exactly(client, size):
    data = b""
    while len(data) < size:
        piece = client.recv(size - len(data))
        if not piece:
            raise ConnectionResetError(f"the connection ended after {data}")
        data += piece
    return data


def shake_hands(client, path, token, headers=None):
    """Makes a connection a WebSocket."""
    key = base64.b64encode(os.urandom(16)).decode()
    lines = {"Host": "127.0.0.1", "Upgrade": "websocket", "Connection": "Upgrade", "Sec-WebSocket-Version": "13", "Sec-WebSocket-Key": key,
             "Sec-WebSocket-Protocol": token, **(headers or {})}
    client.sendall("\r\n".join([f"GET {path} HTTP/1.1", *(f"{name}: {value}" for name, value in lines.items()), "", ""]).encode())
    head = b""
    while not head.endswith(b"\r\n\r\n"):
        head += read_exactly(client, 1)
    assert head.startswith(b"HTTP/1.1 101 "), head


class Channel:
    """Keeps what it receives; one that does not read has a small window, so that the device feels it soon."""

    def __init__(self, device, token=None, reads=True, headers=None):
        self.socket = device.connect()
        if not reads:
            self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
        self.messages, self.changed = [], threading.Condition()
        self.ended, self.close_code, self.close_reason = False, None, ""
        shake_hands(self.socket, "/ws", token or device.token(), headers)
        if reads:
            self.read_on()

    def read_on(self):
        threading.Thread(target=self.read, daemon=True).start()

    def read(self):
        try:
            while True:
                first, length = read_exactly(self.socket, 2)
                length = struct.unpack(">H", read_exactly(self.socket, 2))[0] if length == 126 else length
                length = struct.unpack(">Q", read_exactly(self.socket, 8))[0] if length == 127 else length
                self.take(first & 15, read_exactly(self.socket, length))
        except OSError:
            with self.changed:
                self.ended = True
                self.changed.notify()

    def take(self, opcode, payload):
        with self.changed:
            if opcode == TEXT:
                self.messages.append(json.loads(payload))
            if opcode == CLOSE:
                self.close_code, self.close_reason = struct.unpack(">H", payload[:2])[0], payload[2:].decode()
                self.socket.sendall(frame(payload[:2], CLOSE))
            self.changed.notify()

    def send(self, text):
        self.socket.sendall(frame(text.encode()))

    def find(self, kind, **members):
        return next((m for m in self.messages if m["type"] == kind and all(m.get(k) == v for k, v in members.items())), None)

    def wait_for(self, kind, **members):
        """The first message of this type with these members."""
        with self.changed:
            assert self.changed.wait_for(lambda: self.find(kind, **members), PATIENCE), f"no {kind} {members}"
            return self.find(kind, **members)

    def wait_for_close(self, code, reason=None):
        with self.changed:
            assert self.changed.wait_for(lambda: self.close_code is not None or self.ended, PATIENCE), "not closed"
            assert self.close_code == code, self.close_code
            assert reason in (None, self.close_reason), self.close_reason
