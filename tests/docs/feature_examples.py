#!/usr/bin/python3
"""The small programs of examples/features: each is started, spoken to as its head says, and ended with a signal.

usage: feature_examples.py FOLDER FEATURE
"""
import json
import pathlib
import signal
import socket
import subprocess
import sys
import tempfile
import urllib.error
import urllib.request

from channel import frame, read_exactly, shake_hands
from program import free_port, wait_for, wait_for_route

FOLDER, FEATURE = pathlib.Path(sys.argv[1]).resolve(), sys.argv[2]
SOURCE = pathlib.Path(__file__).resolve().parents[2] / f"examples/features/{FEATURE}.c"
MOST_LINES = 79
PATIENCE = 30  # seconds
CHECKS = {}
OWN_ROUTES = {"own_route": "/my_note", "extension": "/who"}  # the one that the program binds last


def check(function):
    CHECKS[function.__name__] = function
    return function


def ask(port, path, body=None, token="", content_type="text/plain"):
    """Status and body of a request."""
    headers = {"Content-Type": content_type} | ({"Authorization": f"Bearer {token}"} if token else {})
    request = urllib.request.Request(f"http://127.0.0.1:{port}{path}", data=body, headers=headers)
    try:
        with urllib.request.urlopen(request, timeout=PATIENCE) as reply:
            return reply.status, reply.read()
    except urllib.error.HTTPError as error:
        return error.code, error.read()


def send_files(port, path, *contents):
    parts = [b'--b\r\nContent-Disposition: form-data; name="file"; filename="f"\r\n\r\n' + content + b"\r\n" for content in contents]
    return ask(port, path, b"".join(parts) + b"--b--\r\n", content_type="multipart/form-data; boundary=b")


def kept(folder):
    """What the program left in its folder; the web server's own log may be among it."""
    return {path.name for path in folder.iterdir()} - {"error.log"}


def log_in_as(port, name, password):
    status, text = ask(port, "/api/v1/auth/login", json.dumps({"username": name, "password": password}).encode())
    assert status == 200
    return json.loads(text)


@check
def log_in(port, _):
    assert ask(port, "/dev_info") == (401, b"")
    assert log_in_as(port, "nobody", "admin") == {"code": 1}
    first, second = log_in_as(port, "guest", "guest"), log_in_as(port, "admin", "admin")
    assert len({first["token"], second["token"]}) == 2 and len(first["token"]) == 64
    assert ask(port, "/dev_info", token=second["token"]) == (200, b'{"model":"LOG-IN"}')
    assert [log_in_as(port, "guest", "admin")["code"] for _ in range(4)] == [1, 1, 1, 2]
    locked = log_in_as(port, "guest", "guest")
    assert locked["code"] == 2 and 0 < int(locked["lockTime"]) <= 30, locked
    assert log_in_as(port, "admin", "admin")["code"] == 0
    ask(port, "/logout", token=second["token"])
    assert ask(port, "/dev_info", token=second["token"]) == (401, b"")


def edid_block(number):
    block = bytes([0, 255, 255, 255, 255, 255, 255, 0]) + bytes([number] * 119)
    return block + bytes([-sum(block) % 256])


@check
def upload(port, folder):
    good = edid_block(1) + edid_block(2)
    assert send_files(port, "/upload/edid", good) == (200, b"")
    for bad in (b"", good[:-1], good[:-1] + b"x", b"x" * 128, good + edid_block(3)):
        assert send_files(port, "/upload/edid", bad) == (500, b""), bad
    assert send_files(port, "/upload/edid", edid_block(3), edid_block(4)) == (500, b"")
    assert send_files(port, "/upload/edid", bytes(5000)) == (413, b"")
    assert send_files(port, "/upload/scene", good) == (500, b"")
    assert (folder / "edid.bin").read_bytes() == good
    assert send_files(port, "/upload/edid", edid_block(3)) == (200, b"")
    assert (folder / "edid.bin").read_bytes() == edid_block(3)


@check
def download(port, folder):
    assert ask(port, "/log") == (500, b"")
    (folder / "device.log").write_bytes(b"line\n" * 1000)
    assert ask(port, "/log") == (200, b"line\n" * 1000)
    status, report = ask(port, "/download/custom")
    assert status == 200 and report.startswith(b"time ") and report.endswith(b"\n")
    assert kept(folder) == {"device.log", "report.txt"}


@check
def preview(port, folder):
    picture = b"\xff\xd8" + bytes(range(256)) * 40 + b"\xff\xd9"
    assert ask(port, "/preview/TX01")[0] == 404
    (folder / "picture.jpg").write_bytes(picture)
    with urllib.request.urlopen(f"http://127.0.0.1:{port}/stream", timeout=PATIENCE) as stream:
        read = b""
        while read.count(picture) < 3:
            read += stream.read1()
    assert read.count(b"--w00t\r\n") >= 3, read[:200]


def text(client):
    opcode, length = read_exactly(client, 2)
    assert opcode == 0x81
    return read_exactly(client, length)


def connect(port):
    client = socket.create_connection(("127.0.0.1", port), PATIENCE)
    shake_hands(client, "/ws", "any")
    return client


@check
def events(port, _):
    with connect(port) as one, connect(port) as other:
        assert text(one) == text(other) == b'{"volume":50}'
        one.sendall(frame(b"70"))
        assert text(one) == text(other) == b'{"volume":70}'
        for bad in (b"101", b"-1", b"7x", b""):
            one.sendall(frame(bad))
            assert text(one) == b'{"error":"0 to 100"}', bad
        one.sendall(frame(b"0"))
        assert text(one) == text(other) == b'{"volume":0}'


@check
def own_route(port, folder):
    assert ask(port, "/brightness") == (200, b'{"brightness":50}')
    assert ask(port, "/brightness", b"70") == (200, b'{"brightness":70}')
    for bad in (b"101", b"-1", b"7x", b"1234567890", b"x"):
        assert ask(port, "/brightness", bad) == (400, b'{"error":"0 to 100"}'), bad
    assert ask(port, "/brightness") == (200, b'{"brightness":70}')
    assert ask(port, "/my_note") == (500, b"")
    note = bytes(range(256)) * 256
    assert send_files(port, "/note", note) == (200, b"")
    assert send_files(port, "/note", note + b"x") == send_files(port, "/note", b"1", b"2") == (500, b"")
    assert ask(port, "/my_note") == (200, note)
    assert kept(folder) == {"note"}


@check
def extension(port, _):
    tokens = [log_in_as(port, "a", "a")["token"] for _ in range(2)]
    assert ask(port, "/who", token=tokens[0]) == (200, b'{"address":"127.0.0.1","route":"/who$","method":"GET"}')
    tokens.append(log_in_as(port, "a", "a")["token"])
    assert [ask(port, "/who", token=token)[0] for token in tokens] == [200, 401, 200]


def main():
    assert len(SOURCE.read_text().splitlines()) <= MOST_LINES
    port = free_port()
    with tempfile.TemporaryDirectory() as name:
        with subprocess.Popen([FOLDER / f"sdkapi-{FEATURE}", str(port)], cwd=name, stdout=subprocess.PIPE, text=True) as program:
            try:
                wait_for(port, program)
                if FEATURE in OWN_ROUTES:
                    wait_for_route(port, OWN_ROUTES[FEATURE], program)
                CHECKS[FEATURE](port, pathlib.Path(name))
                program.send_signal(signal.SIGTERM)
                assert program.wait(PATIENCE) == 0
                assert program.stdout.read() == ("a login ended, reason 3\n" if FEATURE == "extension" else "")
            finally:
                program.kill()


main()
