#!/usr/bin/python3
"""Attacks by uploads: their names, forms, pace, amount, and who sends them. The files that were there stay.

usage: attack_uploads_test.py SIMULATOR [REGEX]
"""
import json
import socket
import struct

from attacks import PASSWORD, device_with, folder_of, get, hold, kept, log_of, post, send, wait_until
from device import BOUNDARY, Reply, form, request
from files import certificate, edid, picture

MIB = 1 << 20
BUDGET = 256 * MIB
MOST_AT_ONCE = 32
OF_A_USER = 8

# Every upload of the device, with a content that is taken.
ROUTES = {
    **dict.fromkeys(("/upload/logo", "/upload/bg", "/upload/priv", "/upload/sub/bg", "/upload/sub/logo", "/upload/sub/png",
                     "/upload/sub/setbgimage", "/upload/sub/setbaseimage"), picture),
    **dict.fromkeys(("/upload/scene", "/upload/xyte"), lambda: b'{"a":1}'),
    **dict.fromkeys(("/upload/security", "/upload/sub/security", "/api/v1/security/https_setting",
                     "/api/v1/security/ieee802_1x_setting"), certificate),
    **dict.fromkeys(("/upload/setting", "/upload/sub/upgrade", "/api/v1/settings/import"), lambda: b"PK"),
    "/upload/edid": edid, "/api/v1/fw_upload": lambda: b"SDKFW2\n", "/sim/upload": lambda: b"note",
}


def bitmap(width, height):
    head = struct.pack("<2sIHHI IiiHHIIiiII", b"BM", 0, 0, 0, 54, 40, width, height, 1, 24, 0, 0, 0, 0, 0, 0)
    return head + bytes(width * 3 * height)


SLOW = bitmap(100, 100)  # more than the server reads before it tells the device
LARGE = bitmap(1600, 1700)  # nearly 8 MiB, the most that is taken


def stored(device):
    return kept(device, "files", "tls", "firmware", "tmp")


def log_in(device, name, role):
    """A user of this role with a password of the own choice."""
    other = "Other-Horse-8"
    assert post(device, "/createuser", json.dumps({"username": name, "password": other, "role": role}).encode()).status == 200
    change = {"username": name, "oldpassword": other, "newpassword": PASSWORD}
    assert post(device, "/change/password", json.dumps(change).encode(), device.log_in(name, other)).status == 200
    return device.log_in(name, PASSWORD)


def under_way(device):
    return sorted(folder_of(device, "tmp").iterdir())


def open_upload(device, token, path="/upload/logo", source="127.0.0.1"):
    """An upload of which half has been sent; the rest of its bytes."""
    client = socket.create_connection(("127.0.0.1", device.port), 30, (source, 0))
    raw = request("post", path, token, *form(SLOW, "slow.bmp"))
    half = raw.index(SLOW) + len(SLOW) // 2
    client.sendall(raw[:half])
    return client, raw[half:]


def read_all(client):
    reply = b""
    while piece := client.recv(65536):
        reply += piece
    return Reply(reply)


def uploads_of_a_viewer(device):
    before, viewer = stored(device), log_in(device, "eve", 3)
    for path, content in ROUTES.items():
        body, kind = form(content(), "x.png")
        for method in ("post", "get"):
            assert Reply(device.exchange(request(method, path, viewer, body, kind))).status == 401, f"{method} {path}"
    port = {"Port": "no number"}
    reply = send(device, "/api/v1/security/ieee802_1x_setting", certificate(), token=viewer, headers=port)
    assert reply.status == 401, "the port was judged before the right"
    assert send(device, "/api/v1/security/ieee802_1x_setting", certificate(), headers=port).status == 406
    assert stored(device) == before


def uploads_without_a_login(device):
    before = stored(device)
    for token in ("", "nobody's", "../../device.db", "x" * 1024):
        for path, content in ROUTES.items():
            assert send(device, path, content(), "x.png", token=token).status == 401, path
    assert stored(device) == before


def addresses_beside_the_routes(device):
    """A route that serves what is below it knows no kind of file there."""
    before = stored(device)
    for path, status in (("/upload/sub/upgrade/anything", 500), ("/upload/sub/logo/anything", 500), ("/upload/sub/bg/..%2flogo", 500),
                         ("/upload/scene/x", 500), ("/upload/security/x", 500), ("/upload/sub/security/x", 500), ("/UPLOAD/LOGO", 500),
                         ("/upload//logo", 500), ("/upload/sub/../logo", 500), ("/upload/logo/", 404), ("/upload/logo/x", 404),
                         ("/upload/setting/x", 404), ("/api/v1/settings/import/x", 404), ("/api/v1/fw_upload/x", 404),
                         ("/sim/upload/x", 404), ("/upload/sleepimage", 404), ("/upload/channel", 404)):
        assert send(device, path, picture(), "x.png").status == status, path
    assert stored(device) == before
    assert log_of(device).count("no such kind of file") >= 9


def names_that_lead_elsewhere(device):
    """What each name becomes among the pictures; nothing where the upload is refused."""
    rows = {b"../../device.db": "device.db", b"/etc/passwd": "_etc_passwd", b"C:\\x.png": "C__x.png", b"a/../b": "_b", b"a/b\\c.png": "a_b_c.png",
            b"%2e%2e%2fx": "x", b".hidden": "_hidden", b"-rf": "-rf", b"~": "_", b"": None, b".": None, b"..": None, b"....": None,
            b"a\0b.png": None, b"a%00b.png": "a", b"x" * 4096: None, b"x" * 255: "x" * 127, "ä.png".encode(): "__.png",
            "\u202egnp.exe".encode(): "___gnp.exe", b"\xff\xfe": "__", b"a;b.png": "a_b.png", b"a\tb": "a_b", b"<script>": "_script_"}
    folder = folder_of(device, "files/priv")
    outside = {**kept(device, "tls", "firmware", "tmp"), "files": sorted(path.name for path in folder.parent.iterdir())}
    for name, expected in rows.items():
        body, kind = form(picture(), "NAME")
        reply = post(device, "/upload/priv", body.replace(b'"NAME"', b'"' + name + b'"'), kind=kind)
        assert (reply.status, [path.name for path in folder.iterdir()]) == ((200, [expected]) if expected else (500, [])), name[:40]
        for path in folder.iterdir():
            path.unlink()
    assert {**kept(device, "tls", "firmware", "tmp"), "files": sorted(path.name for path in folder.parent.iterdir())} == outside


def forms_of_every_shape(device):
    assert send(device, "/upload/logo", picture(), "logo.png").status == 200
    before = stored(device)
    whole, kind = form(picture(), "a.png")
    field = whole[:-len(f"--{BOUNDARY}--\r\n")]
    value = f'--{BOUNDARY}\r\nContent-Disposition: form-data; name="x"\r\n\r\n'.encode()
    end = f"--{BOUNDARY}--\r\n".encode()
    rows = (("two files", field + field + end), ("a file behind many values", (value + b"v\r\n") * 1000 + field + field + end),
            ("no file", value + b"v\r\n" + end), ("no field", end), ("nothing", b""), ("no end", field), ("no begin", whole[20:]),
            ("a part without a body", value + end), ("a name without an end", whole.replace(b'a.png"', b"a.png")),
            ("a head of 100 KiB", whole.replace(b"Content-Disposition", b"X: " + b"x" * 100000 + b"\r\nContent-Disposition")))
    for what, body in rows:
        assert post(device, "/upload/logo", body, kind=kind).status == 500, what
        assert stored(device) == before, what


def uploads_that_break_off(device):
    assert send(device, "/upload/logo", picture(), "logo.png").status == 200
    before, token = stored(device), device.token()
    for reset in (False, True):
        for path in ("/upload/logo", "/upload/priv", "/upload/scene", "/sim/upload", "/api/v1/settings/import"):
            client, _ = open_upload(device, token, path)
            wait_until("the upload does not begin", lambda: under_way(device))
            if reset:
                client.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
            client.close()
            wait_until(f"{path} leaves its file", lambda: not under_way(device))
    assert stored(device) == before
    assert "it broke off" in log_of(device)


def dripping_upload_beside_good_ones(device):
    slow, rest = open_upload(device, device.token())
    for number in range(20):
        slow.sendall(rest[number:number + 1])
        assert send(device, "/upload/logo", picture(), "good.png").status == 200
        assert send(device, "/upload/scene", b"{}").status == 200
    slow.sendall(rest[20:])
    assert read_all(slow).status == 200


def drip(device, token, count, address="127.0.0.1"):
    """Uploads that have begun and wait, each with its place."""
    before = len(under_way(device))
    drips = [open_upload(device, token, source=address)[0] for _ in range(count)]
    wait_until("the uploads do not begin", lambda: len(under_way(device)) == before + count)
    return drips


def places_taken_by_drips(device):
    """Who may not upload takes no place, who may a quarter of them; when all are taken the next one is told so, and they come back."""
    viewer = log_in(device, "eve", 3)
    users = [log_in(device, f"kim{number}", 2) for number in range(4)]
    drips = [open_upload(device, token)[0] for token in [viewer] * 20 + ["nobody's"] * 20]
    wait_until("refused", lambda: log_of(device).count("refused POST /upload/logo") >= 40)
    assert send(device, "/upload/logo", picture()).status == 200
    own = drip(device, users[0], OF_A_USER)
    for token in (users[0], device.log_in("kim0", PASSWORD)):
        assert send(device, "/upload/logo", picture(), token=token).status == 500
        told = json.loads(get(device, "/sim/refusals", token).content())["refusals"]
        assert [entry["reason"] for entry in told] == ["too many at once by one client"], told
    assert send(device, "/upload/logo", picture()).status == 200
    for token in users[1:]:
        own += drip(device, token, OF_A_USER)
    assert len(under_way(device)) == MOST_AT_ONCE
    token = device.token()
    assert send(device, "/upload/logo", picture(), token=token).status == 500
    told = json.loads(get(device, "/sim/refusals", token).content())["refusals"]
    assert [entry["reason"] for entry in told] == ["too many at once"], told
    for client in drips + own:
        client.close()
    wait_until("the places are not given back", lambda: not under_way(device))
    assert send(device, "/upload/logo", picture(), token=token).status == 200


def places_taken_without_a_login(device):
    """Where nobody has to log in a token says nothing: an address has its share."""
    own = drip(device, "", OF_A_USER)
    for token in ("", "another"):
        assert send(device, "/upload/logo", picture(), token=token).status == 500
    others = drip(device, "", OF_A_USER, "127.0.0.2")
    for client in own + others:
        client.close()
    wait_until("the places are not given back", lambda: not under_way(device))
    assert send(device, "/upload/logo", picture(), token="").status == 200


def more_than_the_budget(device):
    """What is there can be replaced and deleted when no room is left."""
    token, number = device.token(), 0
    while (reply := send(device, "/upload/priv", LARGE, f"{number}.bmp", token=token)).status == 200:
        number += 1
        assert number * len(LARGE) <= BUDGET, "more than the budget"
    assert (reply.status, number) == (500, BUDGET // len(LARGE))
    assert "there is no room within the budget" in log_of(device)
    assert send(device, "/sim/upload", bytes(16 * MIB), "note").status == 500
    assert send(device, "/upload/priv", LARGE, "0.bmp").status == 200, "replaced by one as large"
    assert get(device, "/delete_priv?file=0.bmp").status == 200
    assert send(device, "/upload/priv", LARGE, "another.bmp").status == 200
    assert not under_way(device)


def more_than_a_kind_may_have(device):
    """By an announced length, by chunks, and by a body that goes on behind its length."""
    before, token = stored(device), device.token()
    assert send(device, "/upload/logo", bytes(9 * MIB)).status in (413, 500)
    assert send(device, "/upload/edid", edid() + bytes(256)).status == 500
    body, kind = form(b"x" * 100, "x.png")
    raw = request("post", "/upload/logo", token, body, kind)
    for length in (b"-1", b"99999999999999999999", b"4294967396", b"1e3", b"0x10"):
        reply = device.exchange(raw.replace(b"Content-Length: %d" % len(body), b"Content-Length: " + length)[:-1])
        assert b" 200 " not in reply[:20], length
    chunks = b"".join(b"%x\r\n%s\r\n" % (len(piece), piece) for piece in (body[:150], bytes(9 * MIB))) + b"0\r\n\r\n"
    head = raw[:-len(body)].replace(b"Content-Length: %d" % len(body), b"Transfer-Encoding: chunked")
    assert b" 200 " not in device.exchange(head + chunks)[:20]
    assert stored(device) == before


hold({**dict.fromkeys((uploads_of_a_viewer, uploads_without_a_login, addresses_beside_the_routes, names_that_lead_elsewhere, forms_of_every_shape,
                       uploads_that_break_off, dripping_upload_beside_good_ones, places_taken_by_drips, more_than_the_budget,
                       more_than_a_kind_may_have), device_with()),
      places_taken_without_a_login: device_with("--no-auth")})
