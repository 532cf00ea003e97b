"""The servers that the benchmarks start, and the files they serve."""
import json
import os
import pathlib
import re
import signal
import socket
import ssl
import subprocess
import time

from program import free_port, wait_for

TOKEN = "bench-token"
AUTH = f"Authorization: Bearer {TOKEN}\r\n".encode()
PICTURE = 100 * 1024
SIZES = {"1 KB": 1024, "1 MB": 1 << 20, "200 MB": 200 << 20}
CONTEXT = ssl.SSLContext(ssl.PROTOCOL_TLS_CLIENT)
CONTEXT.check_hostname = False
CONTEXT.verify_mode = ssl.CERT_NONE


class Server:
    """One running server process; "library" and "bare" speak HTTP and HTTPS, the peers HTTP.

    The library starts with so many routes of the host and so many logins before the one that is used.
    """

    def __init__(self, build, name, folder, routes=0, before=0, under=()):
        self.name, self.http, self.https = name, free_port(), free_port()
        arguments = [*under, f"{build}/bench/bench-{name}", str(self.http)]
        if name in ("library", "bare"):
            arguments += [str(self.https), f"{folder}/cert.pem", str(folder), str(routes)]
        begun = time.perf_counter()
        self.process = subprocess.Popen(arguments, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, cwd=folder)
        self.process.stdout.readline()
        self.start_seconds = time.perf_counter() - begun
        wait_for(self.http, self.process)
        self.idle_memory = self.memory()
        if name == "library":
            for index in range(before):
                self.login(f"other-{index}")
            self.login()

    def connect(self, tls=False):
        raw = socket.create_connection(("127.0.0.1", self.https if tls else self.http), timeout=120)
        raw.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        return CONTEXT.wrap_socket(raw) if tls else raw

    def ask(self, request):
        """Sends one request on a connection of its own and reads until the server closes."""
        reply = b""
        with self.connect() as client:
            client.sendall(request)
            while piece := client.recv(1 << 18):
                reply += piece
        return reply

    def login(self, name=""):
        body = json.dumps({"username": name, "password": "x"}).encode()
        self.ask(b"POST /api/v1/auth/login HTTP/1.1\r\nHost: x\r\nContent-Length: %d\r\n\r\n%s" % (len(body), body))

    def memory(self):
        """Resident kilobytes; the sum over the mappings, as the process's own counter lags behind."""
        mappings = pathlib.Path(f"/proc/{self.process.pid}/smaps_rollup").read_text()
        return int(re.search(r"^Rss:\s+(\d+)", mappings, re.M).group(1))

    def stop(self):
        begun = time.perf_counter()
        self.process.send_signal(signal.SIGTERM)
        try:
            self.process.wait(30)
        except subprocess.TimeoutExpired:
            self.process.kill()
        return time.perf_counter() - begun


def make_files(folder):
    """A certificate, files to download, and what wrk sends as a login."""
    subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", "key.pem", "-out", "c.pem",
                    "-days", "2", "-subj", "/CN=localhost"], cwd=folder, check=True, capture_output=True)
    (folder / "cert.pem").write_text((folder / "c.pem").read_text() + (folder / "key.pem").read_text())
    for size in (*SIZES.values(), 10 << 10, 100 << 10, 10 << 20):
        with open(folder / str(size), "wb") as file:
            for _ in range(max(1, size >> 20)):
                file.write(os.urandom(min(size, 1 << 20)))
    (folder / "login.lua").write_text('wrk.method="POST"\nwrk.body=[[{"username":"guest","password":"x"}]]\n')
