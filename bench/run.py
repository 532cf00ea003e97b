#!/usr/bin/python3
"""Runs the library and its baselines side by side and prints ratios.

usage: run.py BUILD_FOLDER [--rounds N] [--seconds S] [--only NAME] [--out FOLDER]

Method: library (A) and bare web server (B) on the same CivetWeb build, options and bytes, interleaved
A B B A per round; a round's ratio is the mean of its A figures over the mean of its B figures; printed is
the median of the rounds with their lowest and highest.
"""
import argparse
import json
import os
import pathlib
import re
import signal
import socket
import ssl
import statistics
import struct
import subprocess
import tempfile
import threading
import time

TOKEN = "bench-token"
PICTURE = 100 * 1024


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class Server:
    """One running server process."""

    def __init__(self, build, name, folder, *extra):
        self.http, self.https = free_port(), free_port()
        arguments = [f"{build}/bench/bench-{name}", str(self.http)]
        if name in ("library", "bare"):
            arguments += [str(self.https), f"{folder}/cert.pem", str(folder), *map(str, extra)]
        begun = time.perf_counter()
        self.process = subprocess.Popen(arguments, stdout=subprocess.PIPE, cwd=folder)
        self.process.stdout.readline()
        self.start_seconds = time.perf_counter() - begun
        for _ in range(100):
            with socket.socket() as probe:
                if probe.connect_ex(("127.0.0.1", self.http)) == 0:
                    break
            time.sleep(0.02)
        if name == "library":
            self.login()

    def connect(self, tls=False):
        raw = socket.create_connection(("127.0.0.1", self.https if tls else self.http), timeout=60)
        raw.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        return CONTEXT.wrap_socket(raw) if tls else raw

    def login(self, name=""):
        body = json.dumps({"username": name, "password": "x"}).encode()
        with self.connect() as client:
            client.sendall(b"POST /api/v1/auth/login HTTP/1.1\r\nHost: x\r\nContent-Length: %d\r\n\r\n%s" % (len(body), body))
            while client.recv(65536):
                pass

    def memory(self):
        status = pathlib.Path(f"/proc/{self.process.pid}/status").read_text()
        return int(re.search(r"VmRSS:\s+(\d+)", status).group(1))

    def stop(self):
        begun = time.perf_counter()
        self.process.send_signal(signal.SIGTERM)
        try:
            self.process.wait(5)
        except subprocess.TimeoutExpired:
            self.process.kill()
        return time.perf_counter() - begun


CONTEXT = ssl.SSLContext(ssl.PROTOCOL_TLS_CLIENT)
CONTEXT.check_hostname = False
CONTEXT.verify_mode = ssl.CERT_NONE
AUTH = f"Authorization: Bearer {TOKEN}\r\n".encode()


def wrk(server, path, seconds, tls=False, script=None):
    """Requests per second and the latencies of wrk."""
    url = f"{'https' if tls else 'http'}://127.0.0.1:{server.https if tls else server.http}{path}"
    command = ["wrk", "-t1", "-c8", f"-d{seconds}s", "--latency", "-H", f"Authorization: Bearer {TOKEN}", url]
    if script:
        command[1:1] = ["-s", script]
    text = subprocess.run(command, capture_output=True, text=True, check=True).stdout
    return float(re.search(r"Requests/sec:\s+([\d.]+)", text).group(1))


def post_file(server, size, tls):
    """MB/s of one upload."""
    head = b'--BOUND\r\nContent-Disposition: form-data; name="f"; filename="f"\r\n\r\n'
    tail = b"\r\n--BOUND--\r\n"
    block = b"u" * min(size, 1 << 20)
    begun = time.perf_counter()
    with server.connect(tls) as client:
        client.sendall(b"POST /upload/bg HTTP/1.1\r\nHost: x\r\n" + AUTH +
                       b"Content-Type: multipart/form-data; boundary=BOUND\r\nContent-Length: %d\r\n\r\n"
                       % (len(head) + size + len(tail)) + head)
        left = size
        while left > 0:
            client.sendall(block[:left])
            left -= len(block)
        client.sendall(tail)
        reply = client.recv(65536)
    assert reply.startswith(b"HTTP/1.1 200"), reply
    return size / (time.perf_counter() - begun) / 1e6


def get_file(server, name, size, tls):
    """MB/s of one download, connection and request included."""
    begun = time.perf_counter()
    got = 0
    with server.connect(tls) as client:
        client.sendall(b"GET /download/setting?method=%s HTTP/1.1\r\nHost: x\r\nConnection: close\r\n" % name.encode() + AUTH + b"\r\n")
        buffer = bytearray(1 << 18)
        while count := client.recv_into(buffer):
            got += count
    assert got > size, got
    return size / (time.perf_counter() - begun) / 1e6


def kept_download_ms(server):
    """Milliseconds of a small download on a kept connection."""
    times = []
    with server.connect() as client:
        for _ in range(20):
            begun = time.perf_counter()
            client.sendall(b"GET /download/setting?method=1k HTTP/1.1\r\nHost: x\r\n" + AUTH + b"\r\n")
            data = b""
            while not (data.endswith(b"0\r\n\r\n") or (b"Content-Length: 1024" in data and len(data.split(b"\r\n\r\n", 1)[-1]) == 1024)):
                data += client.recv(65536)
            times.append((time.perf_counter() - begun) * 1000)
    return statistics.median(times)


def many(count, seconds, work):
    """Bytes per second that count threads move together."""
    totals = [0] * count
    deadline = time.perf_counter() + seconds

    def run(index):
        totals[index] = work(deadline)

    threads = [threading.Thread(target=run, args=(i,)) for i in range(count)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    return sum(totals) / seconds


def watch(server, viewers, seconds, tls=False):
    """Preview pictures per second."""
    def view(deadline):
        got = 0
        buffer = bytearray(1 << 18)
        with server.connect(tls) as client:
            client.sendall(b"GET /stream HTTP/1.1\r\nHost: x\r\n\r\n")
            while time.perf_counter() < deadline:
                got += client.recv_into(buffer)
        return got
    return many(viewers, seconds, view) / PICTURE


def open_socket(server):
    client = server.connect()
    client.sendall(b"GET /websocket HTTP/1.1\r\nHost: x\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
                   b"Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n"
                   b"Sec-WebSocket-Protocol: " + TOKEN.encode() + b"\r\n\r\n")
    head = b""
    while b"\r\n\r\n" not in head:
        head += client.recv(1)
    return client


def broadcast(server, clients, texts):
    """Texts per second that reach the clients, all together."""
    sockets = [open_socket(server) for _ in range(clients)]
    frame = 2 + len('{"type":"status","uptime":123456,"temperature":41.5,"clients":10,"online":8}')
    order = str(texts).encode()
    begun = time.perf_counter()
    sockets[0].sendall(bytes([0x81, 0x80 | len(order)]) + b"\0\0\0\0" + order)
    buffer = bytearray(1 << 18)

    def read(client):
        left = frame * texts
        while left > 0 and (count := client.recv_into(buffer)):
            left -= count

    threads = [threading.Thread(target=read, args=(client,)) for client in sockets]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    rate = clients * texts / (time.perf_counter() - begun)
    server.login()  # closing the first socket ends the login
    for client in sockets:
        client.close()
    time.sleep(0.2)
    server.login()
    return rate


class Table:
    """Collects rows of ratios."""

    def __init__(self, rounds):
        self.rounds, self.rows = rounds, []

    def compare(self, name, a, b, unit):
        """Measures A B B A per round."""
        ratios, left, right = [], [], []
        for _ in range(self.rounds):
            first, second, third, fourth = a(), b(), b(), a()
            ratios.append((first + fourth) / (second + third))
            left += [first, fourth]
            right += [second, third]
        row = {"name": name, "unit": unit, "library": statistics.median(left), "baseline": statistics.median(right),
               "ratio": statistics.median(ratios), "lowest": min(ratios), "highest": max(ratios)}
        self.rows.append(row)
        print(f"{name:44} {row['library']:12.1f} {row['baseline']:12.1f} {unit:8} ratio {row['ratio']:.3f} "
              f"({row['lowest']:.3f} to {row['highest']:.3f})", flush=True)


def make_files(folder):
    subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", "key.pem", "-out", "c.pem",
                    "-days", "2", "-subj", "/CN=localhost"], cwd=folder, check=True, capture_output=True)
    (folder / "cert.pem").write_text((folder / "c.pem").read_text() + (folder / "key.pem").read_text())
    for name, size in (("1k", 1024), ("1m", 1 << 20), ("200m", 200 << 20)):
        with open(folder / name, "wb") as file:
            for _ in range(max(1, size >> 20)):
                file.write(os.urandom(min(size, 1 << 20)))
    (folder / "login.lua").write_text('wrk.method="POST"\nwrk.body=[[{"username":"guest","password":"x"}]]\n')


def compare_servers(build, folder, arguments):
    table = Table(arguments.rounds)
    library, bare = Server(build, "library", folder), Server(build, "bare", folder)
    peers = {name: Server(build, name, folder) for name in ("microhttpd", "httplib")
             if pathlib.Path(f"{build}/bench/bench-{name}").exists()}
    wanted = re.compile(arguments.only)

    def case(name, function, unit, other=bare):
        if wanted.search(name):
            table.compare(name, lambda: function(library), lambda: function(other), unit)

    seconds = arguments.seconds
    for tls in (False, True):
        scheme = "https" if tls else "http"
        case(f"{scheme} GET device information", lambda s: wrk(s, "/dev_info", seconds, tls), "req/s")
        for label, size, count in (("1 KB", 1024, 50), ("1 MB", 1 << 20, 20), ("200 MB", 200 << 20, 1)):
            name = {"1 KB": "1k", "1 MB": "1m", "200 MB": "200m"}[label]
            case(f"{scheme} upload {label}", lambda s: statistics.mean(post_file(s, size, tls) for _ in range(count)), "MB/s")
            case(f"{scheme} download {label}",
                 lambda s: statistics.mean(get_file(s, name, size, tls) for _ in range(count)), "MB/s")
        for viewers in (1, 4, 16):
            case(f"{scheme} preview, {viewers} viewers", lambda s: watch(s, viewers, seconds, tls), "pict/s")
    for clients in (1, 10, 40):
        case(f"broadcast to {clients}", lambda s: broadcast(s, clients, 20000 // clients), "texts/s")
    script = str(folder / "login.lua")
    if wanted.search("login"):
        login_library = [Server(build, "library", folder) for _ in range(1)][0]
        table.compare("http POST login", lambda: wrk(login_library, "/api/v1/auth/login", seconds, False, script),
                      lambda: wrk(bare, "/api/v1/auth/login", seconds, False, script), "req/s")
        login_library.stop()
    for name, peer in peers.items():
        case(f"http GET device information against {name}", lambda s: wrk(s, "/dev_info", seconds), "req/s", peer)
    if wanted.search("kept"):
        print(f"small download on a kept connection: library {kept_download_ms(library):.2f} ms")
    measures = {"memory_idle_kb": library.memory(), "memory_bare_kb": bare.memory(),
                "start_ms": library.start_seconds * 1000, "stop_ms": library.stop() * 1000}
    for server in (bare, *peers.values()):
        server.stop()
    print(json.dumps(measures))
    return {"rows": table.rows, "measures": measures}


def memory_per_connection(build, folder):
    """Kilobytes that one idle connection, stream and WebSocket add, library against bare."""
    result = {}
    for name in ("library", "bare"):
        server = Server(build, name, folder)
        for kind in ("idle", "websocket", "stream"):
            before = server.memory()
            held = []
            for _ in range(10):
                if kind == "websocket":
                    held.append(open_socket(server))
                    continue
                client = server.connect()
                if kind == "stream":
                    client.sendall(b"GET /stream HTTP/1.1\r\nHost: x\r\n\r\n")
                    client.recv(1000)
                held.append(client)
            time.sleep(0.3)
            result[f"{name} {kind}"] = (server.memory() - before) / 10
            for client in held:
                client.close()
            time.sleep(0.3)
            if name == "library":
                server.login()
        server.stop()
    return result


def growth(build, folder, seconds):
    """Requests per second against the number of logins and of custom routes."""
    rows = []
    for logins in (1, 10, 100, 1000):
        server = Server(build, "library", folder)
        for index in range(logins - 1):
            server.login(f"other-{index}")
        rows.append(("logins", logins, wrk(server, "/dev_info", seconds)))
        server.stop()
    for routes in (0, 10, 100, 1000):
        server = Server(build, "library", folder, routes)
        rows.append(("routes", routes, wrk(server, "/dev_info", seconds)))
        server.stop()
    for kind, count, rate in rows:
        print(f"{kind:8} {count:6} {rate:12.1f} req/s", flush=True)
    return rows


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build")
    parser.add_argument("--rounds", type=int, default=7)
    parser.add_argument("--seconds", type=int, default=1)
    parser.add_argument("--only", default="")
    parser.add_argument("--out", default="")
    arguments = parser.parse_args()
    build = str(pathlib.Path(arguments.build).resolve())
    with tempfile.TemporaryDirectory() as temporary:
        folder = pathlib.Path(temporary)
        make_files(folder)
        results = compare_servers(build, folder, arguments)
        if not arguments.only or "memory" in arguments.only:
            results["memory"] = memory_per_connection(build, folder)
            print(json.dumps(results["memory"]))
        if not arguments.only or "growth" in arguments.only:
            results["growth"] = growth(build, folder, arguments.seconds)
    out = pathlib.Path(arguments.out or build) / "bench.json"
    out.write_text(json.dumps(results, indent=1))


main()
