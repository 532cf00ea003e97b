"""Preview streams: the head, the framing, the pictures and their pace."""
from __future__ import annotations

import re
import time
from contextlib import ExitStack

from sdkapi_client.preview import LONGEST_PICTURE

from . import routes
from .rules import lines_fault, parsed, web_server_fault
from .target import Target
from .wire import Exchange, receive, request

_HEAD = ["HTTP/1.1 200 OK", "Cache-Control: no-cache", "Pragma: no-cache", "Expires: Thu, 01 Dec 1994 16:00:00 GMT", "Connection: close",
         "Content-Type: multipart/x-mixed-replace; boundary=--w00t"]
_PART = re.compile(rb"--w00t\r\nContent-Type: image/jpeg\r\nContent-Length: (\d+)\r\n\r\n")
_FASTEST = 130.0


def check_preview(target: Target) -> None:
    report = target.report
    report.area = "preview"
    unit = target.options.unit or _first_unit(target)
    for path in (routes.STREAM, *([f"/preview/{unit}"] if unit else [])):
        exchange = _watch(target, path, target.options.preview_seconds)
        if exchange.status in (404, 405):
            report.must(path, "the web server's 404 is whole", web_server_fault(exchange, (404, 405)), exchange)
            report.not_offered(path, "404: no function for it, or a refusal")
            continue
        target.offered.add(path)
        target.offered.add(path.partition("/preview")[0] or "/preview")
        _check_stream(target, path, exchange)
        stranger = _watch(target, path, 0, "sdkapi-check")
        report.must(path, "a token makes no difference", "" if stranger.status == 200 else f"the status is {stranger.status}", Exchange(stranger.sent, stranger.received[:600]))
    if routes.STREAM in target.offered:
        _check_two(target)
        for longer in ("/2", "x"):
            below = _watch(target, routes.STREAM + longer, 0)
            report.must(routes.STREAM, f"paths below are served, too ({longer})", "" if below.status == 200 else f"the status is {below.status}", Exchange(below.sent, below.received[:600]))
    nobody = _watch(target, "/preview/sdkapi-check-nobody", 0.5)
    report.should("/preview/NAME", "a unit that is not there is refused", "" if nobody.status in (404, 405) else "it has pictures", nobody)


def _first_unit(target: Target) -> str:
    """The name of a unit, when the device's list says one that is online."""
    answer = parsed(target.ask("GET", "/getTxRxList").body)
    entries = parsed(str(answer.get("list", "")).encode()) if isinstance(answer, dict) else None
    for entry in entries if isinstance(entries, list) else []:
        if isinstance(entry, dict) and entry.get("online", True) and isinstance(entry.get("name"), str):
            return str(entry["name"])
    return ""


def _watch(target: Target, path: str, seconds: float, token: str | None = None) -> Exchange:
    """What comes in so many seconds from the first picture on, or the beginning; no login is needed."""
    result = Exchange(request("GET", path, token))
    deadline = time.monotonic() + target.endpoint.timeout
    with target.endpoint.connect() as connection:
        connection.sendall(result.sent)
        receive(connection, result, 64, deadline)
        while seconds and _lacks_a_picture(result) and time.monotonic() < deadline:
            receive(connection, result, len(result.received) + 1, deadline)
        if seconds and not result.ended:
            receive(connection, result, 256 << 20, time.monotonic() + seconds)
    return result


def _lacks_a_picture(result: Exchange) -> bool:
    """A source that has just been opened, or a busy device, takes a moment for the first one."""
    return not result.ended and result.status in (0, 200) and _pictures(result.body) == ("", [])


def _check_stream(target: Target, path: str, exchange: Exchange) -> None:
    report = target.report
    shown = Exchange(exchange.sent, exchange.received[:600])
    if not report.must(path, "the head as fixed", lines_fault(exchange.lines, _HEAD), shown):
        return
    fault, pictures = _pictures(exchange.body)
    report.must(path, "each picture framed as fixed", fault, shown)
    report.must(path, "pictures come", "" if pictures or fault else "none came", shown)
    bad = next((picture for picture in pictures if picture[:2] != b"\xff\xd8" or picture.rstrip(b"\0")[-2:] != b"\xff\xd9"), None)
    report.must(path, "each picture is a whole JPEG", "" if bad is None else f"one begins with {bad[:4]!r} and ends with {bad[-4:]!r}", shown)
    rate = len(pictures) / target.options.preview_seconds
    report.should(path, "a picture a second or more", "" if rate >= 1 else f"{rate:.1f} a second", shown)
    report.should(path, "paced by the device", "" if rate <= _FASTEST else f"{rate:.0f} pictures a second", shown)
    report.must(path, "the stream goes on", "the device has ended it" if exchange.ended else "", shown)


def _pictures(body: bytes) -> tuple[str, list[bytes]]:
    """What is wrong with the framing, and the whole pictures."""
    begin = 0
    pictures: list[bytes] = []
    while begin < len(body):
        found = _PART.match(body, begin)
        if found is None:
            head = body[begin:begin + 200]
            whole = b"\r\n\r\n" in head or len(head) == 200
            return (f"a part begins with {head[:100]!r}" if whole else ""), pictures
        length = int(found.group(1))
        if length > LONGEST_PICTURE or length == 0:
            return f"a picture has {length} bytes", pictures
        end = found.end() + length
        if len(body) < end + 4:
            break
        if body[end:end + 4] != b"\r\n\r\n":
            return f"behind a picture comes {body[end:end + 4]!r}", pictures
        pictures.append(body[found.end():end])
        begin = end + 4
    return "", pictures


def _check_two(target: Target) -> None:
    """Two clients watch at once, and a third when they have left."""
    with ExitStack() as open_streams:
        heads = []
        for _ in range(2):
            connection = open_streams.enter_context(target.endpoint.connect())
            result = Exchange(request("GET", routes.STREAM))
            connection.sendall(result.sent)
            receive(connection, result, 64, time.monotonic() + target.endpoint.timeout)
            heads.append(result)
        target.report.must(routes.STREAM, "two clients watch at once", "" if all(head.status == 200 for head in heads) else "the second gets nothing", heads[-1])
    again = _watch(target, routes.STREAM, 0.1)
    target.report.must(routes.STREAM, "clients that leave make room", "" if again.status == 200 else "the next gets nothing", Exchange(again.sent, again.received[:600]))
