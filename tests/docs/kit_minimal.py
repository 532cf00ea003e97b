#!/usr/bin/python3
"""The minimal host on the kit: at most 80 lines, and all of it works over sockets.

usage: kit_minimal.py PROGRAM
"""
import hashlib
import json
import pathlib
import re
import signal
import socket
import subprocess
import sys
import tempfile
import urllib.request

from device import Reply, form, request
from files import edid
from program import free_port

PATIENCE = 60  # seconds
PASSWORD = "Correct-Horse-7"


class Host:
    def __init__(self, folder):
        self.port = free_port()
        self.process = subprocess.Popen([*sys.argv[1].split(), "--http-port", str(self.port), "--data-dir", folder], text=True, stdout=subprocess.PIPE,
                                        stderr=subprocess.DEVNULL)
        lines = list(iter(self.process.stdout.readline, "ready\n")) if self.process.poll() is None else []
        self.first_password = re.search(r"password (\S+)", "".join(lines)).group(1)

    def exchange(self, raw):
        with socket.create_connection(("127.0.0.1", self.port), PATIENCE) as client:
            client.sendall(raw)
            return Reply(b"".join(iter(lambda: client.recv(65536), b"")))

    def get(self, path, token=""):
        return self.exchange(request("get", path, token))

    def post(self, path, token, **members):
        return json.loads(self.exchange(request("post", path, token, json.dumps(members).encode(), "application/json")).content())

    def upload(self, path, token, content):
        return self.exchange(request("post", path, token, *form(content)))

    def log_in(self, password):
        return self.post("/api/v1/auth/login", "", username="admin", password=password).get("token", "")


def users(host):
    """A token, once the first password was changed."""
    assert host.log_in("wrong") == ""
    token = host.log_in(host.first_password)
    assert host.get("/dev_info").status == 401
    assert json.loads(host.get("/dev_info", token).content())["model"] == "KIT-MINIMAL"
    assert host.get("/hello", token).status == 401  # not before the first password was changed
    changed = host.post("/change/password", token, username="admin", oldpassword=host.first_password, newpassword=PASSWORD)
    assert changed == {"code": 0}, changed
    return host.log_in(PASSWORD)


def open_events(host, token):
    client = socket.create_connection(("127.0.0.1", host.port), PATIENCE)
    client.sendall(f"GET /websocket HTTP/1.1\r\nHost: a\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: 13\r\n"
                   f"Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Protocol: {token}\r\n\r\n".encode())
    stream = client.makefile("rb")
    assert stream.readline().startswith(b"HTTP/1.1 101 ")
    while stream.readline() != b"\r\n":
        pass
    return client, stream


def read_text(stream):
    opcode, length = stream.read(2)
    assert opcode == 0x81
    return stream.read(int.from_bytes(stream.read(2), "big") if length == 126 else length).decode()


def files_and_events(host, token):
    client, stream = open_events(host, token)
    with client, stream:
        for wrong in (b"", b"x" * 128, edid()[:-1] + b"\xff"):
            assert host.upload("/upload/edid", token, wrong).status == 500
        assert host.upload("/upload/edid", token, edid()).status == 200
        assert json.loads(read_text(stream)) == {"type": "edid", "sha256": hashlib.sha256(edid()).hexdigest()}
        reply = host.get("/download/edid", token)
        assert (reply.status, reply.content()) == (200, edid())


def preview(host):
    assert host.get("/preview/any").status == 404
    with urllib.request.urlopen(f"http://127.0.0.1:{host.port}/stream", timeout=PATIENCE) as stream:
        pictures = set()
        while len(pictures) < 3:
            length = 0
            while (line := stream.readline().strip()) or not length:
                length = int(line.partition(b":")[2]) if line.lower().startswith(b"content-length") else length
            pictures.add(stream.read(length))
        assert all(picture.startswith(b"\xff\xd8") and picture.endswith(b"\xff\xd9") for picture in pictures)


def main():
    lines = pathlib.Path("examples/kit_minimal/kit_minimal.c").read_text().count("\n")
    assert lines <= 80, lines
    with tempfile.TemporaryDirectory() as folder:
        host = Host(folder)
        try:
            token = users(host)
            assert json.loads(host.get("/hello", token).content()) == {"hello": "kit"}
            assert host.get("/hello").status == 401
            files_and_events(host, host.log_in(PASSWORD))
            preview(host)
            host.process.send_signal(signal.SIGTERM)
            assert host.process.wait(PATIENCE) == 0
        finally:
            host.process.kill()


main()
