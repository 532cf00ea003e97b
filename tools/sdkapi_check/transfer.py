"""Files to and from the device."""
from __future__ import annotations

import json
import re
import struct
import time
import zlib

from sdkapi_client.errors import Unreachable
from sdkapi_client.kinds import UPLOADS, UploadKind

from . import routes
from .rules import INVALID_FILE, chunks_fault, composed_fault, web_server_fault
from .target import Target
from .wire import BROKEN_FORM, Exchange, form

_LIMIT = 4 << 20
# What a good file of each family looks like; certificates and upgrades are never sent, they would change how the device is reached.
_SAFE = {"image", "text"}
# Which download gives a file back.
_BACK = {"/upload/logo": routes.LOGO, "/upload/scene": "/download/scene", "/upload/edid": "/download/edid"}
_BAD = b"sdkapi-check: this is no file of any kind\n"


def picture() -> bytes:
    """A PNG of a few pixels, whose text takes several pieces and holds what ends a part elsewhere."""
    def block(kind: bytes, data: bytes) -> bytes:
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    rows = b"".join(b"\0" + bytes([16 * row, 64, 128]) * 16 for row in range(16))
    text = b"Comment\0" + b"\r\n--check\r\n-- check of a device\r\n" * 2000
    return (b"\x89PNG\r\n\x1a\n" + block(b"IHDR", struct.pack(">IIBBBBB", 16, 16, 8, 2, 0, 0, 0)) + block(b"tEXt", text) + block(b"IDAT", zlib.compress(rows))
            + block(b"IEND", b""))


def edid() -> bytes:
    """A display of the maker "SAM" with a preferred timing of 1920x1080: a device may refuse less."""
    block = bytearray(127)
    block[:10] = bytes.fromhex("00ffffffffffff004c2d")
    block[18:20] = bytes([1, 4])
    block[54:62] = bytes.fromhex("023a801871382d40")
    return bytes(block) + bytes([-sum(block) % 256])


def good_file(path: str) -> tuple[bytes, str]:
    if path == "/upload/edid":
        return edid(), "check.bin"
    if path in ("/upload/scene", "/upload/xyte"):
        return json.dumps({"sdkapi": "check"}).encode(), "check.json"
    return picture(), "check.png"


def download_fault(exchange: Exchange, limit: int = _LIMIT) -> tuple[str, bytes]:
    """What is wrong with a download, and its content."""
    lines = exchange.lines
    expected = ["HTTP/1.1 200 OK", None, "Content-Type: application/octet-stream", "Transfer-Encoding: chunked"]
    if len(lines) != len(expected):
        return f"the head has {len(lines)} lines, not {len(expected)}", b""
    if not re.fullmatch(r'Content-Disposition: attachment;filename="[^"]*"', lines[1]):
        return f"line 2 of the head is {lines[1]!r}", b""
    for number, (line, wanted) in enumerate(zip(lines, expected), 1):
        if wanted is not None and line != wanted:
            return f"line {number} of the head is {line!r}, not {wanted!r}", b""
    return chunks_fault(exchange, whole=len(exchange.received) < limit)


def _file_name(exchange: Exchange) -> str:
    return exchange.header("Content-Disposition") or ""


def check_downloads(target: Target) -> None:
    report, names = target.report, {}
    report.area = "downloads"
    for path in (*routes.DOWNLOADS, routes.LOGO):
        exchange = target.ask("GET", path, None if path == routes.LOGO else "", limit=_LIMIT)
        quiet = path in (*routes.SETTINGS, routes.LOGO)
        if exchange.status in (404, 405):
            report.must(path, "the web server's 404 is whole", web_server_fault(exchange, (404, 405)), exchange)
            report.not_offered(path, "404: no function for it" + (", or a refusal" if quiet else ""))
            continue
        target.offered.add(path)
        if exchange.status != 200:
            report.must(path, "a refusal is composed as fixed", "only a 404 may refuse here" if quiet else composed_fault(exchange, (401, 500), b""), exchange)
            report.not_tested(path, f"the device answers {exchange.status}: has it such a file?")
            continue
        fault, content = download_fault(exchange)
        report.must(path, "head and chunks as fixed", fault, exchange)
        report.should(path, "the file has a name", "the name is empty" if 'filename=""' in _file_name(exchange) else "", exchange)
        names[path] = _file_name(exchange)
        posted = target.ask("POST", path, None if path == routes.LOGO else "", b"", limit=_LIMIT)
        report.must(path, "POST is answered like GET", "" if posted.status == 200 else f"the status is {posted.status}", posted)
        if path in routes.LONGER_GET:
            below = target.ask("GET", path + "/below", limit=_LIMIT)
            report.must(path, "paths below are served, too", "the status is 404" if below.status == 404 else "", below)
        if path == routes.LOGO:
            stranger = target.ask("GET", path, "sdkapi-check", limit=_LIMIT)
            report.must(path, "a token makes no difference", "" if stranger.status == 200 else f"the status is {stranger.status}", stranger)
        if path == "/log" and target.token:
            report.should(path, "the log does not hold tokens", "it holds the token of this login" if target.token.encode() in content else "", Exchange(exchange.sent, exchange.head))
    for old, new in (("/log", "/api/v1/log"), ("/download/setting", "/api/v1/settings/export")):
        if old in names and new in names:
            report.must(new, f"the same file as {old}", "" if names[old] == names[new] else f"{names[new]!r}, there {names[old]!r}")


def check_uploads(target: Target) -> None:
    """Forms that cannot be parsed, which no device function sees; good and bad files only when writing is allowed."""
    report = target.report
    report.area = "uploads"
    good: dict[UploadKind, Exchange] = {}
    for kind in UPLOADS.values():
        exchange = target.send_form(kind.path, BROKEN_FORM)
        if exchange.status in (404, 405):
            report.not_offered(kind.path, str(exchange.status))
            continue
        target.offered.add(kind.path)
        report.must(kind.path, "a form that cannot be parsed is refused", _refused_fault(kind.path, exchange, (500,)), exchange)
        plain = target.send_form(kind.path, (b"no form", "text/plain"))
        report.must(kind.path, "a body that is no form is refused", _refused_fault(kind.path, plain, (500,)), plain)
        if kind.path in routes.LONGER_UPLOAD:
            below = target.send_form(kind.path + "/below", BROKEN_FORM)
            report.must(kind.path, "paths below are served, too", _refused_fault(kind.path + "/below", below, (500,)), below)
        if target.options.write:
            _check_bad_file(target, kind)
            if kind.family in _SAFE:
                good[kind] = target.send_form(kind.path, form(*good_file(kind.path)))
    if not target.options.write:
        report.not_tested("files", "only with --write")
    taken = {kind.family for kind, exchange in good.items() if exchange.status == 200}
    for kind, exchange in good.items():
        if exchange.status == 500 and kind.family in taken and _BACK.get(kind.path) not in target.offered:
            target.offered.discard(kind.path)
            report.not_offered(kind.path, "500 to every file, while the same device function takes another kind of file")
        else:
            _check_good_file(target, kind.path, exchange)


def _refused_fault(path: str, exchange: Exchange, others: tuple[int, ...]) -> str:
    """The refusal with its text where that is fixed, else one of the other statuses without a body."""
    if path in routes.INVALID_FILE:
        return composed_fault(exchange, (406,), INVALID_FILE)
    return composed_fault(exchange, others, b"")


def _check_bad_file(target: Target, kind: UploadKind) -> None:
    report, path = target.report, kind.path
    bad = target.send_form(path, form(_BAD, "check.txt"))
    if bad.status in (200, 401) and kind.family not in ("firmware", "certificate"):
        report.must(path, "a file of another kind is answered", composed_fault(bad, (200, 401), b""), bad)
        report.should(path, "a file of another kind is refused", "it is taken" if bad.status == 200 else "", bad)
    else:
        report.must(path, "a file of another kind is refused", "" if bad.status == 401 and not composed_fault(bad, (401,), b"") else _refused_fault(path, bad, (500,)), bad)


def _check_good_file(target: Target, path: str, good: Exchange) -> None:
    report = target.report
    if good.status == 401:
        report.not_tested(path, "this user may not upload")
        return
    content, name = good_file(path)
    report.must(path, "a good file is answered without a body", composed_fault(good, (200, 500), b""), good)
    report.should(path, "a good file is taken", "" if good.status == 200 else f"the status is {good.status}", good)
    dripped = target.send_form(path, form(content, name), pieces=37 + len(content) // 60)
    report.must(path, "a file in small pieces is answered alike", "" if dripped.status == good.status else f"the status is {dripped.status}, not {good.status}", dripped)
    if good.status == 200 and path in _BACK:
        _check_back(target, path, content)


def _check_back(target: Target, path: str, content: bytes) -> None:
    """What was sent comes back, where the device has the download beside the upload."""
    back = _BACK[path]
    exchange = target.ask("GET", back, limit=_LIMIT)
    fault, got = download_fault(exchange) if exchange.status == 200 else ("", content)
    target.report.must(back, f"the file that {path} took", fault or ("" if got == content else f"{len(got)} bytes that differ from the {len(content)} sent"), exchange)


def check_firmware(target: Target) -> None:
    report = target.report
    report.area = "firmware"
    path = "/api/v1/fw_upload"
    if target.options.firmware is None:
        report.not_tested(path, "only with --firmware FILE")
        return
    exchange = target.send_form(path, form(target.options.firmware.read_bytes(), target.options.firmware.name), seconds=300)
    report.must(path, "the firmware is taken", composed_fault(exchange, (200,), b""), exchange)
    report.must(path, "the device answers again", "" if _answers_again(target, 300) else "it does not, for five minutes")


def _answers_again(target: Target, seconds: float) -> bool:
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        try:
            if target.ask("GET", "/dev_info").status in (200, 401, 404):
                return True
        except Unreachable:
            pass  # it restarts
        time.sleep(0.5)
    return False
