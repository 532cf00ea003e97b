#!/usr/bin/python3
"""Archives that are not in order: each is refused with a reason in the log, and the device stays what it was.

usage: attack_archive_test.py SIMULATOR
"""
import io
import json
import pathlib
import stat
import struct
import sys
import warnings
import zipfile
import zlib

from attacks import log_of, send
from device import Device, Reply, request
from memory import peak_mebibytes

MIB = 1 << 20


def get(device, path):
    return Reply(device.exchange(request("get", path, device.token()), 64 * MIB))


def picture(number):
    """A small PNG of its own."""
    def chunk(kind, content):
        return struct.pack(">I", len(content)) + kind + content + struct.pack(">I", zlib.crc32(kind + content))
    head = struct.pack(">IIBBBBB", 1, 1, 8, 2, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) + chunk(b"IDAT", zlib.compress(bytes([0, number, 0, 0]))) + chunk(b"IEND", b"")


def exported(device, method="full"):
    reply = get(device, f"/api/v1/settings/export?method={method}")
    assert reply.status == 200, reply.raw[:200]
    with zipfile.ZipFile(io.BytesIO(reply.content())) as archive:
        return {name: archive.read(name) for name in archive.namelist()}


def archive(entries):
    """A zip of (name or ZipInfo, bytes)."""
    content = io.BytesIO()
    with warnings.catch_warnings(), zipfile.ZipFile(content, "w", zipfile.ZIP_DEFLATED) as writer:
        warnings.simplefilter("ignore")  # names that are there twice are meant
        for name, data in entries:
            writer.writestr(name, data)
    return content.getvalue()


def state(device):
    """What a client can see of everything that is kept, password hashes included."""
    seen = [get(device, path).content() for path in ("/sim/units", "/getprivjson", "/sim/files")]
    return seen + [exported(device, "users")["users.json"]]


def changed(good, name, data):
    return archive([(entry, data if entry == name else content) for entry, content in good.items()])


def changed_json(good, name, change):
    """The archive with one document changed in place."""
    document = json.loads(good[name])
    result = change(document)
    return changed(good, name, json.dumps(document if result is None else result))


def unit(**members):
    return lambda units: units[0].update(members)


def user(**members):
    return lambda users: users[0].update(members)


def link(name, target):
    info = zipfile.ZipInfo(name)
    info.external_attr = (stat.S_IFLNK | 0o777) << 16
    return info, target


def nested(levels):
    return "[" * levels + "]" * levels


def own_hash(cost):
    return f"$argon2id$v=19$m={cost[0]},t={cost[1]},p=1$" + "A" * 22 + "$" + "A" * 43


def attacks(good):
    """What each archive is, and the reason of its refusal in the log."""
    whole = archive(good.items())
    many = [{**json.loads(good["units.json"])[0], "name": f"U{number}", "input": ""} for number in range(100)]
    admin = json.loads(good["users.json"])[0]
    broken = "a broken archive, or something else than files in it"
    units, users = lambda change: changed_json(good, "units.json", change), lambda change: changed_json(good, "users.json", change)
    presets = lambda document: changed(good, "presets.json", json.dumps(document))
    bindings = lambda document: changed(good, "privileges.json", json.dumps(document))
    beside = lambda *entries: archive([*good.items(), *entries])
    hash_refused, role_refused = "users.json: the hash of admin is of another kind", "users.json: the role of admin is unknown"
    return [
        ("nothing", b"", "no whole zip archive"),
        ("no zip", b"PK\3\4 not a zip" * 100, "no whole zip archive"),
        ("an archive that was cut", whole[:-30], "no whole zip archive"),
        ("an archive with a tail", whole + b"x", "no whole zip archive"),
        ("its end alone", whole[-22:], broken),
        ("5000 entries", beside(*((f"e{number}", b"") for number in range(5000))), "too many entries"),
        ("no manifest", archive([(name, data) for name, data in good.items() if name != "manifest.json"]), "no manifest"),
        ("another device's", changed(good, "manifest.json", b'{"format":"other"}'), "manifest.json: of another device or format"),
        ("a bomb of brackets in 218 bytes", archive([("manifest.json", good["manifest.json"]), ("units.json", nested(20000))]),
         "units.json: more than 32 levels deep"),
        ("a bomb of objects", changed(good, "users.json", '{"a":' * 100000), "users.json: more than 32 levels deep"),
        ("a deep manifest", changed(good, "manifest.json", nested(1000)), "manifest.json: no JSON object"),
        ("a document of 100 MiB", changed(good, "units.json", b" " * (100 * MIB)), "units.json: more than 1048576 bytes"),
        ("a picture of 100 MiB", beside(("files/logo", bytes(100 * MIB))), "files/logo: more than 8388608 bytes"),
        ("no JSON", changed(good, "units.json", b"[{"), "units.json: no JSON at byte 3"),
        ("text that is no UTF-8", changed(good, "users.json", b'["\xff"]'), "users.json: no JSON at byte 3"),
        ("units twice", beside(("units.json", good["units.json"])), "units.json: twice in the archive"),
        ("a foreign entry", beside(("readme.txt", b"x")), "readme.txt: unknown"),
        ("the database", beside(("device.db", b"x")), "device.db: unknown"),
        ("the note, which no export holds", beside(("files/note", b"x")), "files/note: unknown"),
        ("a way out", beside(("../device.db", b"x")), "../device.db: unknown"),
        ("a way out of the pictures", beside(("files/priv/../../device.db", picture(1))), "files/priv/../../device.db: unknown"),
        ("a whole path", beside(("/etc/passwd", b"x")), "/etc/passwd: unknown"),
        ("the journal", beside(("staging/change/journal", b"{}")), "staging/change/journal: unknown"),
        ("a name with a line's end", beside(("a\n2026-01-01 admin logged in", b"x")), "a?2026-01-01 admin logged in: unknown"),
        ("a link, which arrives as the text of its target", beside(link("files/bg", "/etc/passwd")), "files/bg: "),
        ("a folder", beside(("files/priv/x/", b"")), broken),
        ("no picture", beside(("files/logo", b"GIF89a")), "files/logo: "),
        ("no EDID", beside(("files/edid.bin", bytes(128))), "files/edid.bin: "),
        ("a deep scene", beside(("files/scene.json", nested(33))), "files/scene.json: "),
        ("101 pictures", beside(*((f"files/priv/{number}.png", picture(number)) for number in range(101))), "files/priv/: more than 100 files"),
        ("no units", units(lambda _: []), "units.json: no list of units"),
        ("100 units", units(lambda _: many), "units.json: too many units"),
        ("a unit that is a number", units(lambda _: [1]), "units.json: a unit without its members"),
        ("a unit's name with markup", units(unit(name="<b>")), "units.json: a bad name"),
        ("two units of one name", units(lambda _: many[:1] * 2), "units.json: a name twice"),
        ("a unit of another type", units(unit(type="xx")), "units.json: a bad type"),
        ("an address beyond its range", units(unit(ip="192.0.2.256")), "units.json: a bad address"),
        ("an address with a tail", units(unit(ip="192.0.2.1 ")), "units.json: a bad address"),
        ("a MAC address beyond its range", units(unit(mac="02:00:00:00:00:0g")), "units.json: a bad MAC address"),
        ("a short EDID", units(unit(edid="00")), "units.json: a bad EDID"),
        ("a transmitter with an input", units(unit(input="TX02")), "units.json: an input of what is no receiver"),
        ("a receiver's input that is not there", units(lambda list_: list_[-1].update(input="TX09")),
         "units.json: an input that is no transmitter"),
        ("a locked transmitter", units(unit(locked=True)), "units.json: a lock of what is no receiver"),
        ("a lock that is a number", units(unit(locked=1)), "units.json: a unit without its members"),
        ("online as a text", units(unit(online="yes")), "units.json: a unit without its members"),
        ("no users", users(lambda _: []), "users.json: no administrator"),
        ("no administrator", users(user(role=2)), "users.json: no administrator"),
        ("300 users", users(lambda _: [{**admin, "name": f"u{number}"} for number in range(300)]), "users.json: there are too many users"),
        ("a role beyond its range", users(user(role=0)), role_refused),
        ("a role beyond every number", users(user(role=2 ** 64)), role_refused),
        ("a half role", users(user(role=1.5)), role_refused),
        ("a first login that is a text", users(user(firstlogin="1")), "users.json: firstlogin of admin is not 0 or 1"),
        ("two users of one name", users(lambda list_: list_ + list_[:1]), "users.json: admin is there twice"),
        ("a hash of 4 GiB", users(user(hash=own_hash((4194304, 2)))), hash_refused),
        ("a hash of a year", users(user(hash=own_hash((8192, 1000000)))), hash_refused),
        ("a password in the place of a hash", users(user(hash="admin")), hash_refused),
        ("another kind of hash", users(user(hash="$2b$12$" + "A" * 53)), hash_refused),
        ("a hash of 100000 characters", users(user(hash=own_hash((8192, 2)) + "A" * 100000)), hash_refused),
        ("a picture for a unit that is not there", bindings({"a.png": ["RX09"]}), "it could not be applied"),
        ("presets that are no list", presets({}), "presets.json: no list of presets, or too long"),
        ("33 presets", presets([{"name": f"p{n}", "routes": {"RX01": ""}} for n in range(33)]), "presets.json: no list of presets, or too long"),
        ("a preset twice", presets([{"name": "p", "routes": {"RX01": ""}}] * 2), "presets.json: a name that is there twice"),
        ("a preset with a bad route", presets([{"name": "p", "routes": {"RX01": 1}}]), "presets.json: a bad preset"),
        ("a preset without a route", presets([{"name": "p", "routes": {}}]), "presets.json: a bad preset"),
        ("a picture with a path", bindings({"../a.png": []}), "privileges.json: a bad name of a picture"),
        ("a picture for 100 units", bindings({"a.png": ["RX01"] * 100}), "privileges.json: no list of units, or too long"),
        ("bindings that are a list", bindings([]), "privileges.json: no list of bindings, or too long"),
    ]


def check_attacks(device):
    good = exported(device)
    before = state(device)
    for what, content, reason in attacks(good):
        seen = len(log_of(device))
        reply = send(device, "/api/v1/settings/import", content, "settings.zip")
        assert reply.status == 500, f"{what}: {reply.raw[:100]}"
        assert "import by 127.0.0.1 refused: " in log_of(device)[seen:] and reason in log_of(device)[seen:], \
            f"{what}: {log_of(device)[seen:]}"
        assert state(device) == before, f"{what} has changed something"
        staged = list((pathlib.Path(device.folder.name) / "staging/change").iterdir())
        assert not staged, f"{what} leaves {staged}"
    return len(attacks(good))


def check_whole_circle(device):
    """Everything that a device can hold is exported, and imported by a device in factory state."""
    for number in range(100):
        assert send(device, "/upload/priv", picture(number), f"{number}.png").status == 200, number
    assert send(device, "/upload/priv", picture(1), "one more.png").status == 500
    assert get(device, "/specifypriv?hostname=RX01&file=7.png").status == 200
    before, content = state(device), get(device, "/api/v1/settings/export").content()
    assert Reply(device.exchange(request("post", "/custom_restore", device.token()))).status == 200
    assert state(device) != before
    assert send(device, "/api/v1/settings/import", content, "settings.zip").status == 200
    assert state(device) == before


def main():
    with Device(sys.argv[1]) as device:
        count = check_attacks(device)
        print(f"{count} archives refused, {peak_mebibytes(device):.0f} MiB at most", flush=True)
        assert "asan" in sys.argv[1] or peak_mebibytes(device) < 100  # a sanitizer needs memory of its own
        check_whole_circle(device)


main()
