"""The exact bytes of what the device composes itself, and comparing with them."""
from __future__ import annotations

import json
import re
import time
from email.utils import parsedate_to_datetime
from typing import Any

from .wire import Exchange

REASONS = {200: "OK", 400: "Bad Request", 401: "Unauthorized", 403: "Forbidden", 404: "Not Found", 405: "Method Not Allowed",
           406: "Not Acceptable", 500: "Internal Server Error", 503: "Service Unavailable"}
SECURITY = ("Cache-Control: no-cache,no-store,must-revalidate,max-age=0", "Content-Security-Policy: frame-ancestors *;",
            "X-Content-Type-Options:nosniff", "Strict-Transport-Security: max-age=63072000; includeSubdomains; preload")
# The web server's own replies write one of them with a blank. Who may frame what it serves is for the device to say.
ADDED = (r"Content-Security-Policy: .*\bframe-ancestors .+", "X-Content-Type-Options: nosniff",
         "Strict-Transport-Security: max-age=63072000; includeSubdomains; preload")
INVALID_FILE = b'{"result":"Invalid File"}'
DATE = re.compile(r"Date: (Sun|Mon|Tue|Wed|Thu|Fri|Sat), \d\d (Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) \d{4} \d\d:\d\d:\d\d GMT")


def expected_head(status: int, length: int, date: str) -> list[str]:
    return [f"HTTP/1.1 {status} {REASONS.get(status, '')}", date, *SECURITY, "Content-Type: application/json; charset=utf-8;",
            f"Content-Length: {length}", "Connection: close"]


def date_fault(line: str) -> str:
    if not DATE.fullmatch(line):
        return f"the date is written as {line!r}"
    try:
        moment = parsedate_to_datetime(line[6:])
    except ValueError:
        return f"there is no such moment: {line!r}"
    return "" if moment.strftime("%a") == line[6:9] else f"the day of the week is wrong: {line!r}"


def clock_fault(line: str) -> str:
    if date_fault(line):
        return ""
    away = abs(parsedate_to_datetime(line[6:]).timestamp() - time.time())
    return f"the device's clock is {away:.0f} s away from ours" if away > 300 else ""


def lines_fault(got: list[str], expected: list[str]) -> str:
    for number, (one, other) in enumerate(zip(got, expected), 1):
        if one != other:
            return f"line {number} of the head is {one!r}, not {other!r}"
    if len(got) != len(expected):
        return f"the head has {len(got)} lines, not {len(expected)}: {got[len(expected):] or expected[len(got):]}"
    return ""


def composed_fault(exchange: Exchange, statuses: tuple[int, ...], body: bytes | None = None) -> str:
    """What is wrong with a reply that the device composes; empty when nothing is. `body` None: any."""
    if not exchange.received:
        return "no answer"
    if b"\r\n\r\n" not in exchange.received:
        return "the head does not end"
    if exchange.status not in statuses:
        return f"the status is {exchange.status}, not {' or '.join(map(str, statuses))}"
    lines = exchange.lines
    fault = date_fault(lines[1] if len(lines) > 1 else "") or lines_fault(lines, expected_head(exchange.status, len(exchange.body), lines[1]))
    if fault:
        return fault
    if body is not None and exchange.body != body:
        return f"the body is {exchange.body[:200]!r}, not {body!r}"
    return "" if exchange.ended else "the connection stays open behind the reply"


def web_server_fault(exchange: Exchange, statuses: tuple[int, ...]) -> str:
    """What is wrong with a reply of the web server's own."""
    if exchange.status not in statuses:
        return f"the status is {exchange.status or 'missing'}, not {' or '.join(map(str, statuses))}"
    if not exchange.lines[0].startswith("HTTP/1.1 "):
        return f"the reply begins with {exchange.lines[0]!r}"
    missing = [line for line in ADDED if not any(re.fullmatch(line, one) for one in exchange.lines)]
    if missing:
        return f"the head lacks {missing[0].partition(':')[0]!r} as it should be"
    return "" if exchange.ended else "the connection stays open although its end was asked for"


def members_fault(body: bytes, allowed: tuple[str, ...], needed: tuple[str, ...] = ()) -> str:
    """Whether a body is an unformatted object with these members in this order."""
    value = parsed(body)
    if not isinstance(value, dict):
        return f"the body is no JSON object: {body[:200]!r}"
    keys = list(value)
    if keys != [name for name in allowed if name in value]:
        return f"the members are {keys}, in the order {list(allowed)} they should be"
    missing = [name for name in needed if name not in value]
    if missing:
        return f"the member {missing[0]!r} is missing"
    return "" if unformatted(body) else "the body holds blanks or line breaks between its members"


def parsed(body: bytes) -> Any:
    try:
        return json.loads(body)
    except ValueError:
        return None


def unformatted(body: bytes) -> bool:
    """No white space outside of texts."""
    return not re.search(rb"[\s]", re.sub(rb'"(?:[^"\\]|\\.)*"', b'""', body))


def chunks_fault(exchange: Exchange, whole: bool = True) -> tuple[str, bytes]:
    """What is wrong with a download's framing, and its content. Not whole: the exchange was cut at its limit."""
    data, begin, content = exchange.body, 0, bytearray()
    sizes: list[int] = []
    while True:
        end = data.find(b"\r\n", begin)
        if end < 0:
            if not whole:
                return "", bytes(content)
            return ("the head came alone: is the file missing on the device?" if not sizes else "the body ends within a chunk"), bytes(content)
        if not re.fullmatch(rb"[0-9a-f]+", data[begin:end]):
            return f"a chunk's size is written as {data[begin:end][:40]!r}", bytes(content)
        size, begin = int(data[begin:end], 16), end + 2
        if data[begin + size:begin + size + 2] != b"\r\n":
            return "a chunk does not end where its size says" if whole else "", bytes(content)
        content += data[begin:begin + size]
        begin += size + 2
        if size == 0:
            break
        sizes.append(size)
    if begin != len(data):
        return f"{len(data) - begin} bytes behind the last chunk", bytes(content)
    if any(size != 1500 for size in sizes[:-1]) or sizes and sizes[-1] > 1500:
        return f"the chunks hold {sorted(set(sizes))} bytes, not 1500 each", bytes(content)
    return ("" if exchange.ended else "the connection stays open although its end was asked for"), bytes(content)
