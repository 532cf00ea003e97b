"""Bad input: every request gets an answer or an end, and the device goes on."""
from __future__ import annotations

import socket
import struct
import time
from contextlib import ExitStack

from . import channel as channels
from . import routes
from .rules import composed_fault
from .session import refusal_fault
from .target import Target
from .wire import form, request

_IDLE = 60


def check_rough(target: Target) -> None:
    report = target.report
    report.area = "bad input"
    if not target.options.rough:
        report.not_tested("bad input", "only with --rough")
        return
    _check_garbage(target)
    _check_bodies(target)
    _check_idle(target)
    _check_broken_uploads(target)
    _check_frames(target)
    _check_sessions(target)


def _alive(target: Target, after: str) -> None:
    """The device still answers."""
    exchange = target.ask("GET", "/dev_info", None)
    target.report.must("/dev_info", f"an answer after {after}", composed_fault(exchange, (401,), b"") if target.gated else "" if exchange.status else "none", exchange)


def _check_garbage(target: Target) -> None:
    long = b"a" * 70_000
    requests = {"no request at all": (b"\x16\x03\x01\x02\x00\x01\x00\r\n\r\n", range(400, 500)), "an unknown method": (b"BREW /dev_info HTTP/1.1\r\nHost: d\r\n\r\n", range(400, 502)),
                "an unknown version": (b"GET / HTTP/9.9\r\nHost: d\r\n\r\n", range(400, 506)), "a head of 70,000 bytes": (b"GET / HTTP/1.1\r\nX: " + long + b"\r\n\r\n", range(400, 500)),
                "a path of 70,000 bytes": (b"GET /" + long + b" HTTP/1.1\r\n\r\n", range(400, 500)),
                "a negative length": (b"POST /createuser HTTP/1.1\r\nHost: d\r\nContent-Length: -5\r\n\r\n", range(400, 500)),
                "a length and chunks": (b"POST /createuser HTTP/1.1\r\nHost: d\r\nContent-Length: 5\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n", range(400, 500))}
    for rule, (sent, statuses) in requests.items():
        exchange = target.endpoint.exchange(sent)
        fault = "" if exchange.status in statuses or (exchange.ended and not exchange.received) else f"the status is {exchange.status}"
        target.report.must("server", f"{rule} is refused", fault or ("" if exchange.ended else "the connection stays open"), exchange)
    _alive(target, "requests that are none")


def _check_bodies(target: Target) -> None:
    """Bodies that are larger, deeper or other than the device expects."""
    deep = b"[" * 400
    for rule, body in (("a body of 400 brackets", deep), ("a body of zeros", bytes(300)), ("a body of 100,000 bytes", b"{" + b" " * 100_000 + b"}")):
        exchange = target.ask("POST", routes.LOGIN, None, body, "application/json")
        target.report.must(routes.LOGIN, f"{rule} is answered", "" if exchange.status in (200, 404) else f"the status is {exchange.status}", exchange)
    for rule, path in (("query parameters of 3000 bytes", "/preview?" + "q" * 3000), ("a unit's name of 3000 bytes", "/preview/" + "n" * 3000)):
        exchange = target.endpoint.exchange(request("GET", path), limit=300)
        target.report.must("/preview", f"{rule} are answered", "" if exchange.status else "no answer", exchange)
    exchange = target.ask("GET", "/download/setting?method=" + "m" * 3000, limit=300)
    target.report.must("/download/setting", "a method of 3000 bytes is answered", "" if exchange.status else "no answer", exchange)
    _alive(target, "bodies that are none")


def _check_idle(target: Target) -> None:
    """Clients that connect and say nothing, or half of what they want, hold nobody up."""
    with ExitStack() as open_connections:
        for index in range(_IDLE):
            connection = open_connections.enter_context(target.endpoint.connect_plain())
            if index % 2:
                connection.sendall(b"\x16\x03\x01" if target.endpoint.tls else b"GET /dev_info HTTP/1.1\r\nHo")
        _alive(target, f"{_IDLE} clients that say nothing, while they are there")
    _alive(target, f"{_IDLE} clients that said nothing")


def _check_broken_uploads(target: Target) -> None:
    """Uploads that break off within the form."""
    if not target.options.write or "/upload/logo" not in target.offered:
        return
    body, kind = form(b"x" * 200_000, "check.png")
    for share in (0.001, 0.3, 0.999):
        sent = request("POST", "/upload/logo", target.token, body, kind)
        with target.endpoint.connect() as connection:
            connection.sendall(sent[:int(len(sent) * share)])
            connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    _alive(target, "uploads that broke off")


def _check_frames(target: Target) -> None:
    """Frames that no client may send: an end or no answer, but never the device's end."""
    if "events" not in target.offered:
        return
    path = channels._find(target)
    if path[1] is not None:
        path[1].socket.close()
        target.refresh()
    for frame in (b"\x81\x05hello", b"\xf1\x80\0\0\0\0", b"\x83\x80\0\0\0\0", b"\x89\xfe\x01\x00" + bytes(260), b"\x81\xff" + b"\x7f" * 8 + bytes(4)):
        login = target.new_login() if target.gated else "anyone"
        channel = channels.connect(target, path[0], login)
        try:
            channel.socket.sendall(frame)
            channel.frame(0.2)
        except OSError:
            pass
        channel.socket.close()
        channels.leave(target, login)
    _alive(target, "frames that no client may send")


def _check_sessions(target: Target) -> None:
    """More logins than there is room for: the last are refused, or others end; and a logout makes room."""
    if not target.gated:
        return
    tokens, refused = [], None
    for _ in range(25):
        exchange, token = target.try_login(target.options.user, target.options.password)
        if not token:
            refused = exchange
            break
        tokens.append(token)
    if refused is not None:
        fault = refusal_fault(refused) if refused.status == 200 else composed_fault(refused, (500, 503), b"")
        target.report.must(routes.LOGIN, "a login beyond the room is refused", fault, refused)
    for token in tokens:
        target.log_out(token)
    target.refresh()  # a device may have ended the oldest login of this user
    exchange, token = target.try_login(target.options.user, target.options.password)
    target.report.must(routes.LOGIN, "a logout makes room", "" if token else "it does not", exchange)
    deadline = time.monotonic() + 5
    while token and target.log_out(token).status != 200 and time.monotonic() < deadline:
        time.sleep(0.1)
