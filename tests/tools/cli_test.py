#!/usr/bin/python3
"""Each command of `sdkapi` against the simulated device, as its help says.

usage: cli_test.py SIMULATOR http|https
"""
import json
import re
import stat
import sys
import zipfile

from device import Device, form, request
from files import certificate, edid, firmware, picture
from program import free_port
from support import PASSWORD, CommandLine


def private_files(home):
    return [path for path in home.rglob("*") if path.is_file() and "sdkapi" in path.parts]


def check_logins(device, line):
    line.fails(3, "sdkapi login", "info")
    told = line.run("info")
    assert told.returncode == 3 and told.stderr == "sdkapi: not logged in; log in first: `sdkapi login`\n", told
    line.fails(3, "wrong user name or password", "login", "--password-stdin", typed="nonsense\n")
    told = line.run("login", "--password-stdin", typed="admin\n")
    assert told.returncode == 0 and told.stderr == "", told
    assert line.value("whoami") == {"device": line.environment["SDKAPI_DEVICE"], "user": "admin"}
    kept = private_files(line.home)
    assert kept and all(stat.S_IMODE(path.stat().st_mode) == 0o600 for path in kept), kept
    # The last login is the device of the commands that follow.
    bare = dict(line.environment)
    del line.environment["SDKAPI_DEVICE"]
    assert "admin at" in line.ok("whoami")
    line.environment = bare
    token = json.loads(next(path for path in kept if path.suffix == ".json").read_text())["token"]
    assert b" 200 " in device.exchange(request("get", "/dev_info", token))
    line.ok("logout")
    assert b" 401 " in device.exchange(request("get", "/dev_info", token))
    assert not any(path.suffix == ".json" for path in private_files(line.home))
    line.fails(3, "sdkapi login", "whoami")
    # The environment's password, and a login that the device has ended.
    assert line.value("login", SDKAPI_PASSWORD="admin")["user"] == "admin"
    token = json.loads(next(path for path in private_files(line.home) if path.suffix == ".json").read_text())["token"]
    device.exchange(request("post", "/logout", token))
    line.fails(3, "log in", "units")
    line.log_in()


def check_device(line):
    assert line.value("info")["model"] == "SIM-8X8"
    assert "SIM-8X8" in line.ok("info")
    units = line.value("units")
    assert len(units) == 8 and units[0]["name"] == "TX01", units
    assert re.search(r"RX04 +rx +online +192\.0\.2\.\d+ +TX04", line.ok("units"))
    offers = {offer["route"]: offer["state"] for offer in line.value("routes")}
    assert offers["/dev_info"] == offers["/upload/logo"] == offers["/stream"] == "yes" and offers["/custom_restore"] == "not asked", offers
    assert line.value("units")[0]["name"] == "TX01"


def check_users(line):
    assert [user["name"] for user in line.value("users", "list")] == ["admin"]
    line.fails(7, "the password is too weak", "users", "add", "olga", "--role", "2", SDKAPI_NEW_PASSWORD="weak")
    assert line.value("users", "add", "olga", "--role", "2", "--password-stdin", typed=PASSWORD + "\n") == {"user": "olga", "role": 2}
    line.fails(7, "there is such a user already", "users", "add", "olga", SDKAPI_NEW_PASSWORD=PASSWORD)
    assert "olga" in line.ok("users", "list")
    line.fails(7, "the old password is wrong", "users", "password", "--password-stdin", typed="wrong\n" + PASSWORD + "\n")
    line.ok("users", "password", "--password-stdin", typed=f"admin\n{PASSWORD}\n")
    line.fails(3, "wrong user name or password", "login", "--password-stdin", typed="admin\n")
    line.log_in(PASSWORD)
    line.ok("users", "remove", "olga")
    line.fails(7, "there is no such user", "users", "remove", "olga")


def check_files(line):
    files = {"logo": picture(), "bg": picture(), "sub-png": picture(), "priv": picture(), "scene": b'{"scene":1}', "xyte": b"{}", "edid": edid(),
             "https": certificate(), "802.1x": certificate(), "/sim/upload": b"a note"}
    for kind, content in files.items():
        path = line.home / "to send.png"
        path.write_bytes(content)
        sent = line.value("upload", kind, str(path), *(["--port", "3"] if kind == "802.1x" else []))
        assert sent["bytes"] == len(content) and sent["kind"] == kind, sent
    for kind, content in (("logo", files["logo"]), ("scene", files["scene"]), ("edid", files["edid"]), ("/sim/download", b"a note")):
        target = line.home / f"back-{kind.replace('/', '_')}"
        assert line.value("download", kind, "--output", str(target))["bytes"] == len(content)
        assert target.read_bytes() == content
    assert line.value("download", "log")["file"] == "device.log" and (line.home / "device.log").stat().st_size > 100
    path.write_bytes(b"no picture")
    line.fails(7, "is this a picture (PNG, JPEG or BMP), and has the device room for it? its log tells why", "upload", "logo", str(path))
    line.fails(7, "the device says Invalid File; is this a PEM file", "upload", "https", str(path))
    line.fails(7, "the device says Invalid File; is this a firmware container?", "firmware", str(path), "--no-events")
    line.fails(2, "there is no kind 'nonsense'", "upload", "nonsense", str(path))
    line.fails(2, "is no file", "upload", "logo", "nowhere.png")
    line.fails(6, "does not offer /nowhere", "download", "/nowhere")
    assert not list(line.home.glob(".*.png.*")) and not (line.home / "nowhere").exists()


def check_settings(line):
    target = line.home / "saved.zip"
    line.ok("settings", "export", "--output", str(target))
    assert zipfile.ZipFile(target).namelist()
    line.ok("settings", "import", str(target))
    line.fails(6, "settings/export", "settings", "export", "--method", "nonsense")
    target.write_bytes(b"no archive")
    line.fails(7, "an archive that the device has exported", "settings", "import", str(target))


def check_pictures(line):
    target = line.home / "unit.jpg"
    assert line.value("preview", "TX01", "--output", str(target))["bytes"] == target.stat().st_size
    assert target.read_bytes()[:2] == b"\xff\xd8" and target.read_bytes()[-2:] == b"\xff\xd9"
    measured = line.value("preview", "--for", "0.5")
    assert measured["pictures"] > 1 and measured["per_second"] > 0, measured
    line.fails(6, "is the unit there and on?", "preview", "nobody", "--output", str(target))
    line.fails(2, "--output", "preview", "--show")


def check_events(line):
    one = line.value("events", "--filter", "type=hello", "--count", "1", "--user", "admin", SDKAPI_PASSWORD=PASSWORD)
    assert one["model"] == "SIM-8X8", one
    assert line.value("whoami")["user"] == "admin"
    answer = line.value("events", "-f", "type=pong", "-f", "id=7", "-n", "1", "--send", '{"type":"ping","id":7}', "-u", "admin", SDKAPI_PASSWORD=PASSWORD)
    assert answer == {"type": "pong", "id": 7}, answer
    line.fails(2, "MEMBER=VALUE", "events", "--filter", "nonsense")
    line.fails(3, "no event channel", "events", "--path", "/nowhere", "--count", "1")
    # With the kept login, the device ends it, and the command says so.
    done = line.run("events", "--count", "2")
    assert done.returncode == 0 and len(done.stdout.splitlines()) == 2 and "has ended this login" in done.stderr, done
    line.fails(3, "sdkapi login", "whoami")
    line.log_in(PASSWORD)


def check_firmware(line):
    path = line.home / "new.sdkfw"
    path.write_bytes(firmware("1.4.0"))
    done = line.run("firmware", str(path))
    assert done.returncode == 0 and "device: rebooting" in done.stderr and "device: done 1.4.0" in done.stderr, done
    line.log_in(PASSWORD)
    path.write_bytes(firmware("1.5.0"))
    assert line.value("firmware", str(path), "--no-events")["kind"] == "firmware"
    assert line.value("whoami")["user"] == "admin"


def check_trust(program, device, line):
    pins = [path for path in private_files(line.home) if path.suffix == ".pem"]
    assert len(pins) == 1 and stat.S_IMODE(pins[0].stat().st_mode) == 0o600
    # Another certificate on the same port: refused, until it is trusted.
    old = pins[0].read_text()
    pins[0].write_bytes(certificate().partition(b"-----BEGIN PRIVATE")[0])
    line.fails(5, "has changed", "info")
    line.fails(5, "--trust-new", "preview", "--for", "0.1")
    line.ok("login", "--trust-new", SDKAPI_PASSWORD=PASSWORD)
    assert pins[0].read_text() == old
    file = line.home / "authority.pem"
    file.write_text(old)
    pins[0].unlink()
    done = line.run("info", "--cacert", str(file))
    assert not list(line.home.rglob("*/certificates/*.pem")), "pinned in spite of --cacert"
    assert done.returncode in (0, 5), done
    ended = line.home / "other.pem"
    ended.write_bytes(certificate())
    line.fails(5, "not the trusted one: self-signed certificate", "info", "--cacert", str(ended))
    line.fails(5, "cannot be used", "info", "--cacert", "/nowhere.pem")


def check_without_logins(program, tls):
    with Device(program, "--no-auth", tls=tls) as device, CommandLine(url_of(device)) as line:
        assert line.value("info")["model"] == "SIM-8X8"
        assert len(line.value("units")) == 8
        assert line.value("events", "-n", "1")["type"] == "hello"


def check_first_password(program, tls):
    """A new device says what comes first."""
    with Device(program, tls=tls, first_password=None) as device, CommandLine(url_of(device)) as line:
        told = line.run("login", "--password-stdin", typed="admin\n")
        assert told.returncode == 0 and "sdkapi users password" in told.stderr, told
        line.fails(3, "lacks the right", "units")
        line.ok("users", "password", "--password-stdin", typed=f"admin\n{PASSWORD}\n")
        assert len(line.value("units")) == 8


def check_unreachable(line):
    port = free_port()
    line.fails(4, "no connection", "info", "--device", f"http://127.0.0.1:{port}")
    line.fails(2, "is no address", "info", "--device", "ftp://x")
    bare = CommandLine()
    bare.fails(2, "sdkapi login --device URL", "info")
    bare.folder.cleanup()


def check_rights(line):
    """A refusal that is not about the login leaves it alone."""
    line.ok("users", "add", "vera", "--role", "3", SDKAPI_NEW_PASSWORD=PASSWORD)
    line.log_in(PASSWORD, "--user", "vera")
    path = line.home / "p.png"
    path.write_bytes(picture())
    line.fails(3, "lacks the right", "upload", "logo", str(path))
    assert line.value("whoami")["user"] == "vera"
    line.log_in(PASSWORD, "--user", "admin")


def url_of(device):
    return f"{'https' if device.tls else 'http'}://127.0.0.1:{device.port}"


def main():
    program, tls = sys.argv[1], sys.argv[2] == "https"
    with Device(program, tls=tls) as device, CommandLine(url_of(device)) as line:
        check_logins(device, line)
        check_device(line)
        check_users(line)
        check_files(line)
        check_settings(line)
        check_pictures(line)
        check_events(line)
        check_rights(line)
        check_firmware(line)
        if tls:
            check_trust(program, device, line)
        check_unreachable(line)
    check_without_logins(program, tls)
    check_first_password(program, tls)
    print("all commands as their help says")


main()
