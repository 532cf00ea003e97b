#!/usr/bin/python3
"""Attacks by what files and bodies hold: pictures of huge sizes, deep JSON, EDIDs that lie. Each is refused with a reason.

usage: attack_contents_test.py SIMULATOR [REGEX]
"""
import json
import struct
import sys
import zlib

from attacks import device_with, get, hold, kept, log_of, post, send
from device import Reply, request
from files import edid, picture
from memory import peak_mebibytes

MIB = 1 << 20
MOST_MIB = 100


def chunk(kind, content):
    return struct.pack(">I", len(content)) + kind + content + struct.pack(">I", zlib.crc32(kind + content))


def png(width, height, *chunks, depth=8, kind=2):
    head = struct.pack(">IIBBBBB", width, height, depth, kind, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) + b"".join(chunks) + chunk(b"IEND", b"")


def pixels(content):
    return chunk(b"IDAT", zlib.compress(content, 9))


def bmp(width, height, depth=24, begin=54, compression=0, content=bytes(1000)):
    return struct.pack("<2sIHHI IiiHHIIiiII", b"BM", 0, 0, 0, begin, 40, width, height, 1, depth, compression, 0, 0, 0, 0, 0) + content


def jpeg(width, height, frame=0xC0, rest=b""):
    return b"\xff\xd8\xff" + bytes([frame]) + struct.pack(">HBHHB", 11, 8, height, width, 1) + b"\x01\x11\x00" + rest


PICTURES = {
    "a PNG of 4 billion pixels a side": (png(2 ** 32 - 1, 2 ** 32 - 1, pixels(b"x")), "it is no whole PNG picture: PNG unsigned integer out of range"),
    "a PNG of 2 billion pixels a side": (png(2 ** 31 - 1, 2 ** 31 - 1, pixels(b"x")), "it is no whole PNG picture: Invalid IHDR data"),
    "a PNG that is too wide": (png(16385, 1, pixels(b"x")), "it is no whole PNG picture: Invalid IHDR data"),
    "a PNG of 268 million pixels": (png(16384, 16384, pixels(b"x")), "it has too many pixels"),
    "a PNG without a pixel": (png(0, 0, pixels(b"")), "it is no whole PNG picture: Invalid IHDR data"),
    "a PNG with less than it says": (png(5000, 5000, pixels(bytes(1000))), "it is no whole PNG picture: Not enough image data"),
    "a PNG that ends in its pixels": (png(10, 10, pixels(bytes(310)))[:-20], "it is no whole PNG picture: it ends too early"),
    "a PNG of an unknown kind": (png(1, 1, pixels(bytes(4)), depth=7, kind=9), "it is no whole PNG picture: Invalid IHDR data"),
    "a PNG with a chunk of 2 GiB": (png(1, 1)[:33] + struct.pack(">I", 2 ** 31 - 1) + b"IDAT" + bytes(100), "it is no whole PNG picture: "),
    "a PNG with a wrong sum": (png(1, 1, pixels(bytes(4)))[:-16] + bytes(16), "it is no whole PNG picture: "),
    "a BMP of 2 billion pixels a side": (bmp(2 ** 31 - 1, 2 ** 31 - 1), "it has too many pixels"),
    "a BMP of as many rows below 0": (bmp(1, -2 ** 31), "it has too many pixels"),
    "a BMP of a width below 0": (bmp(-1, 1), "it has no pixels"),
    "a BMP with less than it says": (bmp(5000, 5000), "it is no whole BMP picture"),
    "a BMP whose pixels lie elsewhere": (bmp(1, 1, begin=2 ** 32 - 1), "it is no whole BMP picture"),
    "a BMP whose pixels are its head": (bmp(1, 1, begin=0), "it is no whole BMP picture"),
    "a BMP of 65535 bits": (bmp(1, 1, depth=65535), "it has an unknown kind of BMP head"),
    "a compressed BMP": (bmp(1, 1, depth=8, compression=1), "it is a compressed BMP picture"),
    "a JPEG of 65535 pixels a side": (jpeg(65535, 65535), "it is no whole JPEG picture: "),
    "a progressive JPEG of 33 million pixels": (jpeg(5792, 5792, 0xC2, b"\xff\xda\x00\x08\x01\x01\x00\x00\x3f\x00"), "it has too many pixels for a"),
    "a JPEG without its tables": (jpeg(5000, 5000, 0xC0, b"\xff\xda\x00\x08\x01\x01\x00\x00\x3f\x00"), "it is no whole JPEG picture: "),
    "a JPEG's first bytes": (b"\xff\xd8\xff", "it has no pixels"),
    "a GIF": (b"GIF89a" + bytes(100), "it is no PNG, JPEG or BMP picture"),
    "a page": (b"<svg onload=alert(1)>", "it is no PNG, JPEG or BMP picture"),
    "nothing": (b"", "it is no PNG, JPEG or BMP picture"),
}


def block(change=None, base=None, right=True):
    """An EDID block with some bytes changed and, unless said otherwise, a right sum."""
    content = bytearray(base if base is not None else edid())
    for at, value in (change or {}).items():
        content[at] = value
    content[127] = (-sum(content[:127]) + (0 if right else 1)) % 256
    return bytes(content)


EDIDS = {
    "a wrong sum": (block(right=False), "block 0 has a wrong checksum"),
    "a wrong sum behind": (block({126: 1}) + block(base=bytes(128), right=False), "block 1 has a wrong checksum"),
    "a block that is missing": (block({126: 1}), "it has another number of blocks than it says"),
    "a block too many": (block() + block(base=bytes(128)), "it has another number of blocks than it says"),
    "255 blocks that are missing": (block({126: 255}), "it has another number of blocks than it says"),
    "more blocks than are taken": (block({126: 2}) + block(base=bytes(128)) * 2, "it is too large"),
    "a maker of zeros": (block({8: 0, 9: 0}), "it names no maker"),
    "a maker beyond the letters": (block({8: 0x7F, 9: 0xFF}), "it names no maker"),
    "a timing of zeros": (block(dict.fromkeys(range(54, 72), 0)), "it has no preferred timing"),
    "a timing without a pixel": (block({56: 0, 58: 0}), "it has no preferred timing"),
    "another version": (block({18: 2}), "it is not EDID 1.3 or 1.4"),
    "all zeros": (bytes(128), "it has no EDID header"),
    "half a block": (edid()[:64], "it is not made of whole EDID blocks"),
    "nothing": (b"", "it is not made of whole EDID blocks"),
}

DEPTH = 33
TEXTS = {
    "brackets without an end": (b"[" * MIB, "more than 32 levels deep"),
    "brackets one level too deep": (b"[" * DEPTH + b"]" * DEPTH, "more than 32 levels deep"),
    "objects without an end": (b'{"a":' * (MIB // 5), "more than 32 levels deep"),
    "a value behind it": (b"{}{}", "no JSON at byte"),
    "text that is no UTF-8": (b'["\xff"]', "no JSON at byte"),
    "a NUL": (b'["a\0"]', "no JSON at byte"),
    "a number without an end": (b"1" * MIB + b"e", "it is too large"),
    "a number beyond every range": (b"[1e999999]", "no JSON"),
    "half a surrogate": (b'["\\ud800"]', "no JSON at byte"),
    "nothing": (b"", "no JSON at byte"),
}


def check_refused(device, path, good, rows):
    """Each is refused for its reason, what was there stays, and memory stays small."""
    assert send(device, path, good).status == 200
    before, token = kept(device, "files", "tmp"), device.token()
    for what, (content, reason) in rows.items():
        seen = len(log_of(device, "device.log"))
        assert send(device, path, content, token=token).status == 500, what
        said = log_of(device, "device.log")[seen:]
        assert f'was refused "file.bin" ({path}): {reason}' in said, f"{what}: {said}"
        assert kept(device, "files", "tmp") == before, what
    assert "asan" in sys.argv[1] or peak_mebibytes(device) < MOST_MIB  # a sanitizer needs memory of its own


def pictures_that_lie(device):
    check_refused(device, "/upload/logo", picture(), PICTURES)


def pictures_that_grow(device):
    """Small files of many pixels, or of much else, are judged in little memory."""
    rows = bytes(16384 * 6 + 1) * 2048
    texts = chunk(b"zTXt", b"x\0\0" + zlib.compress(bytes(100 * MIB), 9))
    profile = chunk(b"iCCP", b"x\0\0" + zlib.compress(bytes(100 * MIB), 9))
    for what, content in (("33 million pixels of 48 bits", png(16384, 2048, pixels(rows), depth=16)),
                          ("texts of 100 MiB", png(1, 1, texts * 10, pixels(bytes(4)))),
                          ("a profile of 100 MiB", png(1, 1, profile, pixels(bytes(4))))):
        assert send(device, "/upload/logo", content).status in (200, 500), what
        assert get(device, "/sim/units").status == 200, what
    assert "asan" in sys.argv[1] or peak_mebibytes(device) < MOST_MIB


def edids_that_lie(device):
    check_refused(device, "/upload/edid", edid(), EDIDS)


def texts_that_are_deep(device):
    for path in ("/upload/scene", "/upload/xyte"):
        check_refused(device, path, b"{}", TEXTS)


def bodies_that_are_deep(device):
    """Wherever the device reads JSON from a body."""
    routes = {"/sim/units/TX01": 400, "/sim/presets/P": 400, "/sim/sessions": 400, "/api/v1/auth/login": {"code": 1}, "/createuser": {"code": 6},
              "/deleteuser": {"code": 4}, "/change/password": {"code": 1}, "/change/usrorpasswd": {"code": 1}}
    deep = b"[" * 30000 + b"]" * 30000
    for path, expected in routes.items():
        with device_with()(sys.argv[1]) as fresh:  # wrong passwords count
            token = fresh.token()
            for body in (b"[" * 60000, b'{"a":' * 12000, b'{"username":' + deep + b"}", b'{"name":' + deep + b',"username":"admin"}'):
                reply = post(fresh, path, body, token)
                assert expected in (reply.status, json.loads(reply.content() or b"0")), (path, body[:20], reply.raw)
            assert get(fresh, "/sim/units", token).status == 200, path
    assert get(device, "/sim/units").status == 200


def bodies_of_every_length(device):
    token = device.token()
    for length in (b"-1", b"99999999999999999999", b"0x10"):
        raw = request("post", "/sim/units/TX01", token, b"{}", "application/json").replace(b"Content-Length: 2", b"Content-Length: " + length)
        reply = device.exchange(raw)
        assert not reply or Reply(reply).status in (400, 411, 413), (length, reply)
        assert get(device, "/sim/units").status == 200
    chunked = request("post", "/sim/units/TX01", token, b"", "application/json").replace(b"Content-Length: 0", b"Transfer-Encoding: chunked")
    for chunks in (b"ffffffffffffffff\r\nx", b"-1\r\nx", b"2\r\n{}\r\n", b"zz\r\n"):
        with device.connect() as client:
            client.sendall(chunked + chunks)
        assert get(device, "/sim/units").status == 200


hold(dict.fromkeys((pictures_that_lie, pictures_that_grow, edids_that_lie, texts_that_are_deep, bodies_that_are_deep, bodies_of_every_length),
                   device_with()))
