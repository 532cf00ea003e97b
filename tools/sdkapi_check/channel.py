"""The event channel: handshake, frames, and the login that ends with it."""
from __future__ import annotations

import base64
import hashlib
import os
import secrets
import socket
import ssl
import struct
import time
from dataclasses import dataclass, field

from sdkapi_client.events import PATHS

from .rules import composed_fault, parsed
from .target import Target
from .wire import Exchange

_GUID = "258EAFA5-E914-47DA-95CA-C5AB0DC85B11"
TEXT, BINARY, CLOSE, PING, PONG = 1, 2, 8, 9, 10


@dataclass
class Frame:
    first: int
    masked: bool
    payload: bytes
    shortest: bool = True  # its length takes as few bytes as it can

    @property
    def opcode(self) -> int:
        return self.first & 15


@dataclass
class Channel:
    """A connection to the channel, frame by frame."""

    socket: socket.socket
    exchange: Exchange
    key: str
    data: bytearray = field(default_factory=bytearray)
    ended: bool = False

    def send(self, opcode: int, payload: bytes, first: int = 0x80) -> None:
        mask = secrets.token_bytes(4)
        size = len(payload)
        head = struct.pack("!BB", first | opcode, 0x80 | (size if size < 126 else 126)) + (struct.pack("!H", size) if size >= 126 else b"")
        try:
            self.socket.sendall(head + mask + bytes(byte ^ mask[index % 4] for index, byte in enumerate(payload)))
        except OSError:
            self.ended = True

    def frame(self, seconds: float) -> Frame | None:
        """The next frame; None when none came in time, or at the end."""
        deadline = time.monotonic() + seconds
        while (frame := self._take()) is None and not self.ended:
            left = deadline - time.monotonic()
            if left <= 0:
                return None
            try:
                self.socket.settimeout(left)
                piece = self.socket.recv(65536)
            except (TimeoutError, ssl.SSLWantReadError):
                return None
            except OSError:
                piece = b""
            self.ended = not piece
            self.data += piece
        return frame

    def _take(self) -> Frame | None:
        data = self.data
        if len(data) < 2:
            return None
        size, begin = data[1] & 127, 2
        if size >= 126:
            width = 2 if size == 126 else 8
            if len(data) < 2 + width:
                return None
            size, begin = int.from_bytes(data[2:2 + width], "big"), 2 + width
        masked = bool(data[1] & 128)
        begin += 4 if masked else 0
        if len(data) < begin + size:
            return None
        frame = Frame(data[0], masked, bytes(data[begin:begin + size]), data[1] & 127 == (size if size < 126 else 126 if size < 65536 else 127))
        del data[:begin + size]
        return frame

    def wait_for(self, opcode: int, seconds: float) -> Frame | None:
        deadline = time.monotonic() + seconds
        while (left := deadline - time.monotonic()) > 0:
            frame = self.frame(left)
            if frame is None or frame.opcode == opcode:
                return frame
        return None

    def answers_ping(self, size: int = 8) -> bool:
        payload = secrets.token_bytes(size)
        self.send(PING, payload)
        frame = self.wait_for(PONG, 5)
        return frame is not None and frame.payload == payload and frame.first == 0x80 | PONG and not frame.masked and frame.shortest


def leave(target: Target, login: str) -> None:
    """Ends a login whose channel has gone: a device may have few places for the logins of a user."""
    if target.gated:
        target.log_out(login)


def _handshake(path: str, token: str | None) -> tuple[bytes, str]:
    """The request and its key."""
    key = base64.b64encode(os.urandom(16)).decode()
    lines = [f"GET {path} HTTP/1.1", "Host: localhost", "Upgrade: websocket", "Connection: Upgrade", "Sec-WebSocket-Version: 13", f"Sec-WebSocket-Key: {key}"]
    if token is not None:
        lines.append(f"Sec-WebSocket-Protocol: {token}")
    return "\r\n".join(lines).encode() + b"\r\n\r\n", key


def connect(target: Target, path: str, token: str | None) -> Channel:
    sent, key = _handshake(path, token)
    channel = Channel(target.endpoint.connect(), Exchange(sent), key)
    channel.socket.sendall(channel.exchange.sent)
    received, deadline = bytearray(), time.monotonic() + target.endpoint.timeout
    try:
        while b"\r\n\r\n" not in received and (left := deadline - time.monotonic()) > 0:
            channel.socket.settimeout(left)
            piece = channel.socket.recv(65536)
            if not piece:
                channel.ended = True
                break
            received += piece
    except OSError:
        channel.ended = True
    head, _, rest = bytes(received).partition(b"\r\n\r\n")
    channel.exchange.received, channel.exchange.ended = (head + b"\r\n\r\n") if head else b"", channel.ended
    channel.data += rest
    return channel


def check_channel(target: Target) -> None:
    report = target.report
    report.area = "events"
    path, channel = _find(target)
    if channel is None:
        report.not_offered("event channel", f"no handshake at {path} with the token")
        return
    target.offered.add("events")
    token = target.token if target.gated else "anyone"
    try:
        report.must(path, "the handshake", _handshake_fault(channel, token), channel.exchange)
        _check_refusals(target, path)
        _check_frames(target, path, channel)
        _check_second(target, path, channel)
        _check_close(target, path, channel)
    finally:
        channel.socket.close()
    target.refresh()


def _find(target: Target) -> tuple[str, Channel | None]:
    paths = (target.options.channel,) if target.options.channel else PATHS
    for path in paths:
        channel = connect(target, path, target.token if target.gated else "anyone")
        if channel.exchange.status == 101:
            return path, channel
        channel.socket.close()
    return " or ".join(paths), None


def _handshake_fault(channel: Channel, token: str) -> str:
    exchange = channel.exchange
    accept = base64.b64encode(hashlib.sha1((channel.key + _GUID).encode()).digest()).decode()
    if not exchange.lines[0].startswith("HTTP/1.1 101 "):
        return f"the reply begins with {exchange.lines[0]!r}"
    for name, wanted in (("Upgrade", "websocket"), ("Connection", "upgrade")):
        if (exchange.header(name) or "").lower() != wanted:
            return f"{name} is {exchange.header(name)!r}"
    if exchange.header("Sec-WebSocket-Accept") != accept:
        return "Sec-WebSocket-Accept does not belong to the key"
    if exchange.header("Sec-WebSocket-Protocol") != token:
        return "Sec-WebSocket-Protocol is not the token that was sent: browsers refuse that"
    if exchange.header("Sec-WebSocket-Extensions") is not None:
        return "Sec-WebSocket-Extensions tells of what nobody asked for: browsers refuse that"
    return ""


def _check_refusals(target: Target, path: str) -> None:
    tokens: list[tuple[str, str | None]] = [("no Sec-WebSocket-Protocol", None)]
    if target.gated:
        ended = target.new_login()
        target.log_out(ended)
        tokens += [("an unknown token", "sdkapi-check"), ("an ended login's token", ended), ("a token cut by one", target.token[:-1])]
    for rule, token in tokens:
        refused = connect(target, path, token)
        refused.socket.close()
        fault = "it is let in" if refused.exchange.status == 101 else "" if refused.exchange.ended else "the connection stays open"
        target.report.must(path, f"{rule} is refused", fault, refused.exchange)
    for rule, old, new in (("an older version of the protocol", b"Version: 13", b"Version: 12"), ("a handshake without a key", b"Sec-WebSocket-Key", b"X-Key")):
        login = target.new_login() if target.gated else "another"
        sent = _handshake(path, login)[0].replace(old, new)
        exchange = target.endpoint.exchange(sent, limit=4096, seconds=2)
        target.report.must(path, f"{rule} is refused", "it is let in" if exchange.status == 101 else "", exchange)
        leave(target, login)


def _check_frames(target: Target, path: str, channel: Channel) -> None:
    report = target.report
    if not report.must(path, "a ping is answered with its payload", "" if channel.answers_ping() else "it is not", channel.exchange):
        return
    for size in (0, 125):
        report.must(path, f"a ping of {size} bytes is answered", "" if channel.answers_ping(size) else "it is not", channel.exchange)
    channel.send(BINARY, b"\0\1\2")
    report.must(path, "a binary frame does not end the connection", "" if channel.answers_ping() else "it does", channel.exchange)
    channel.send(PONG, b"unasked")
    report.must(path, "a pong does not end the connection", "" if channel.answers_ping() else "it does", channel.exchange)
    login = target.new_login() if target.gated else "another"
    fresh = connect(target, path, login)
    frame = fresh.wait_for(TEXT, 3)
    if frame is None:
        report.not_tested(path, "the device sent no event in three seconds")
    else:
        shown = Exchange(fresh.exchange.sent, fresh.exchange.received + frame.payload[:400])
        fault = "it is masked" if frame.masked else "it is in parts, or has reserved bits" if frame.first & 0xF0 != 0x80 else "" if frame.shortest else "its length is written longer than it has to be"
        report.must(path, "an event is one whole text frame", fault or _text_fault(frame.payload), shown)
        report.should(path, "an event is a JSON object with a type", "" if "type" in (parsed(frame.payload) or {}) else "it is none", shown)
    fresh.socket.close()
    leave(target, login)


def _text_fault(payload: bytes) -> str:
    try:
        payload.decode("utf-8")
    except UnicodeDecodeError:
        return "it is no UTF-8"
    return ""


def _check_second(target: Target, path: str, channel: Channel) -> None:
    """Two connections side by side, also when one of them breaks off."""
    login = target.new_login() if target.gated else "another"
    second = connect(target, path, login)
    works = second.exchange.status == 101 and second.answers_ping()
    target.report.must(path, "a second login has a channel of its own", "" if works else "it has none", second.exchange)
    second.socket.close()
    target.report.must(path, "the first goes on when the second ends", "" if channel.answers_ping() else "it does not", channel.exchange)
    if works and target.gated:
        target.report.must(path, "a connection that breaks off ends its login", *_ended_login(target, login))
    leave(target, login)


def _ended_login(target: Target, login: str) -> tuple[str, Exchange]:
    """What is wrong with the login of a channel that has gone, after the time that a device takes."""
    deadline = time.monotonic() + 10
    while (after := target.ask("GET", "/dev_info", login)).status != 401 and time.monotonic() < deadline:
        time.sleep(0.05)
    return composed_fault(after, (401,), b""), after


def _check_close(target: Target, path: str, channel: Channel) -> None:
    report = target.report
    channel.send(CLOSE, struct.pack("!H", 1000))
    deadline = time.monotonic() + target.endpoint.timeout
    while not channel.ended and time.monotonic() < deadline:
        channel.frame(deadline - time.monotonic())
    report.must(path, "a close ends the connection", "" if channel.ended else "it stays open", channel.exchange)
    if not target.gated:
        return
    report.must(path, "a close ends the login", *_ended_login(target, target.token))
