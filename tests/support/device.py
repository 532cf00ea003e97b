"""A simulated device of its own for each part of the test, and raw requests to it."""
import json
import pathlib
import shutil
import signal
import socket
import ssl
import subprocess
import tempfile
import urllib.parse

from program import free_port

BOUNDARY = "contract-boundary"
PASSWORDS = ("admin", "Correct-Horse-7")
USERS = ("admin", "chief")


class Device:
    """The simulated device in factory state."""

    def __init__(self, program, *options, tls=False, copy_of=None, environment=None, first_password="admin"):
        self.folder = tempfile.TemporaryDirectory()
        if copy_of:
            shutil.copytree(copy_of, self.folder.name, dirs_exist_ok=True)
        self.port, self.tls = free_port(), tls
        ports = ("0", str(self.port)) if tls else (str(self.port), "0")
        self.command = [program, "--http-port", ports[0], "--https-port", ports[1], "--data-dir", self.folder.name, *options]
        if first_password:
            self.command += ["--first-password", first_password]
        self.environment = environment
        self.start()

    def start(self):
        self.process = subprocess.Popen(self.command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                                        env=self.environment)
        for line in self.process.stdout:
            if line.strip() == "ready":
                break
        self.token_ = ""

    def lose_power(self):
        """Ends the process at once, and starts it again."""
        self.process.kill()
        self.process.wait(60)
        self.process.stdout.close()
        self.start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        code = self.stop()
        self.folder.cleanup()
        assert code == 0, f"the device ended with {code}"

    def stop(self):
        """Its exit code; what it keeps stays in its folder."""
        self.process.send_signal(signal.SIGTERM)
        code = self.process.wait(60)
        self.process.stdout.close()
        return code

    def connect(self):
        raw = socket.create_connection(("127.0.0.1", self.port), timeout=30)
        if not self.tls:
            return raw
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_CLIENT)
        context.check_hostname = False
        context.verify_mode = ssl.CERT_NONE
        return context.wrap_socket(raw)

    def exchange(self, request, limit=4 << 20):
        """What comes back on a connection of its own, until its end or the limit."""
        reply = b""
        with self.connect() as client:
            try:
                client.sendall(request)
                while len(reply) < limit and (piece := client.recv(65536)):
                    reply += piece
            except (ConnectionResetError, BrokenPipeError, ssl.SSLError):
                pass
        return reply

    def log_in(self, name="admin", password="admin"):
        body = json.dumps({"username": name, "password": password})
        reply = self.exchange(request("post", "/api/v1/auth/login", "", body.encode(), "application/json"))
        text = reply.partition(b"\r\n\r\n")[2]
        return json.loads(text).get("token", "") if text else ""

    def token(self):
        """A token that works; logs in again when an earlier request has ended the login."""
        if self.token_ and b" 401 " not in self.exchange(request("get", "/sim/units", self.token_), 1000)[:20]:
            return self.token_
        for name in USERS:
            for password in PASSWORDS:
                self.token_ = self.log_in(name, password)
                if self.token_:
                    return self.token_
        raise AssertionError("no login works")


def request(method, path, token, body=None, content_type=None, headers=None):
    said = {"Host": "127.0.0.1", "Connection": "close", **({"Authorization": f"Bearer {token}"} if token else {}), **(headers or {})}
    lines = [f"{method.upper()} {path} HTTP/1.1", *(f"{name}: {value}" for name, value in said.items())]
    if body is not None:
        lines += [f"Content-Type: {content_type}", f"Content-Length: {len(body)}"]
    return "\r\n".join(lines).encode() + b"\r\n\r\n" + (body or b"")


def form(content, file_name="file.bin", field="file"):
    """A multipart body with one file, and its type."""
    head = f'--{BOUNDARY}\r\nContent-Disposition: form-data; name="{field}"; filename="{file_name}"\r\n\r\n'
    return head.encode() + content + f"\r\n--{BOUNDARY}--\r\n".encode(), f"multipart/form-data; boundary={BOUNDARY}"


def quote(text):
    return urllib.parse.quote(text, safe="")


class Reply:
    """A parsed reply; empty when the connection ended without a byte."""

    def __init__(self, raw):
        self.raw = raw
        self.empty = raw == b""
        if self.empty:
            return
        head, found, body = raw.partition(b"\r\n\r\n")
        assert found, f"a head without an end: {raw[:200]}"
        first, *lines = head.decode("latin-1").split("\r\n")
        self.status = int(first.split(" ")[1])
        assert first.startswith("HTTP/1.1 "), first
        self.headers = {name.strip().lower(): value.strip() for name, _, value in (line.partition(":") for line in lines)}
        self.media = self.headers.get("content-type", "").partition(";")[0].strip()
        self.chunked = self.headers.get("transfer-encoding") == "chunked"
        self.body = body

    def content(self):
        """The body without its framing; None when a chunked body never began."""
        if not self.chunked:
            length = int(self.headers.get("content-length", len(self.body)))
            assert len(self.body) == length, (len(self.body), length)
            return self.body
        if self.body == b"":
            return None
        content, rest = b"", self.body
        while True:
            size, found, rest = rest.partition(b"\r\n")
            assert found, "a chunk without a size"
            length = int(size, 16)
            content, end, rest = content + rest[:length], rest[length:length + 2], rest[length + 2:]
            assert end == b"\r\n", "a chunk without an end"
            if length == 0:
                assert rest == b"", "bytes behind the last chunk"
                return content


def shared(name):
    return pathlib.Path(__file__).resolve().parents[2] / name
