"""The clients of the benchmarks: each function drives one server and returns its figure.

A figure is a dictionary: "value" in the row's unit, "operations" done meanwhile, and what else the client saw.
"""
import os
import re
import selectors
import socket
import statistics
import subprocess
import threading
import time

from servers import AUTH, PICTURE, TOKEN

EVENT_FRAME = 2 + len('{"type":"status","uptime":123456,"temperature":41.5,"clients":10,"online":8}')
PART = b"Content-Type: image/jpeg"
BLOCK = 1 << 20
PATTERNS = {"one letter": b"u" * BLOCK, "random": os.urandom(BLOCK), "all CR": b"\r" * BLOCK,
            '"\\r\\n--" repeated': b"\r\n--" * (BLOCK // 4)}


def milliseconds(text):
    value, unit = re.fullmatch(r"([\d.]+)(us|ms|s)", text).groups()
    return float(value) * {"us": 0.001, "ms": 1, "s": 1000}[unit]


def wrk(server, path, script=None, clients=8, expected=200):
    """Requests per second with median and 99th percentile, during one second."""
    command = ["wrk", "-t1", f"-c{clients}", "-d1s", "--latency", "-H", f"Authorization: Bearer {TOKEN}",
               f"http://127.0.0.1:{server.http}{path}"]
    if script:
        command[1:1] = ["-s", f"{server.bench.folder}/{script}"]
    text = subprocess.run(command, capture_output=True, text=True, check=True).stdout
    refused = re.search(r"Non-2xx or 3xx responses: (\d+)", text)
    total = int(re.search(r"(\d+) requests in", text).group(1))
    if int(refused.group(1) if refused else 0) != (0 if expected == 200 else total):
        raise RuntimeError(f"{server.name}: {text}")
    median, high = (milliseconds(re.search(rf"^ +{part}% +(\S+)", text, re.M).group(1)) for part in (50, 99))
    return {"value": float(re.search(r"Requests/sec:\s+([\d.]+)", text).group(1)), "operations": total,
            "median": median, "p99": high}


def run_client(server, seconds, port, *arguments):
    """Operations, seconds, and the two percentiles in milliseconds."""
    command = [f"{server.bench.build}/bench/bench-client", str(port), str(int(seconds * 1000)), *map(str, arguments)]
    done = subprocess.run(command, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        raise RuntimeError(f"{server.name}: {done.stderr}")
    count, took, median, high = done.stdout.split()
    return int(count), float(took), float(median), float(high)


def handshakes(server, seconds, kind, version):
    """GETs per second, each on a TLS connection of its own; kind is full or resumed."""
    count, took, median, high = run_client(server, seconds, server.https, kind, version)
    return {"value": count / took, "operations": count, "median": median, "p99": high}


def echo(server, seconds, size, tls=False, mode="echo"):
    """Milliseconds until a text frame, or the second of two back to back, has come back."""
    arguments = ("bytes", size) if server.name == "raw" else (mode, size, int(tls), server.fresh_token())
    count, _, median, high = run_client(server, seconds, server.https if tls else server.http, *arguments)
    return {"value": median, "operations": count * (2 if mode == "pair" else 1), "p99": high}


def rate(size, times):
    """MB/s of transfers of one size, and the megabytes as operations."""
    return {"value": size / statistics.mean(times) / 1e6, "operations": size * len(times) / 1e6}


def upload_head(size):
    form = b'--BOUND\r\nContent-Disposition: form-data; name="f"; filename="f"\r\n\r\n'
    end = b"\r\n--BOUND--\r\n"
    head = (b"POST /upload/bg HTTP/1.1\r\nHost: x\r\n" + AUTH +
            b"Content-Type: multipart/form-data; boundary=BOUND\r\nContent-Length: %d\r\n\r\n" % (len(form) + size + len(end)))
    return head + form, end


def upload(server, size, count, tls=False, pattern="one letter"):
    """MB/s of uploads one after another, connection and reply included."""
    head, end = upload_head(size)
    block, times = PATTERNS[pattern], []
    for _ in range(count):
        begun = time.perf_counter()
        with server.connect(tls) as client:
            client.sendall(head)
            for left in range(size, 0, -BLOCK):
                client.sendall(block[:left])
            client.sendall(end)
            reply = client.recv(65536)
        times.append(time.perf_counter() - begun)
        assert reply.startswith(b"HTTP/1.1 200"), reply
    return rate(size, times)


def download_request(size, extra=b""):
    return b"GET /download/setting?method=%d HTTP/1.1\r\nHost: x\r\n%s%s\r\n" % (size, extra, AUTH)


def download(server, size, count, tls=False):
    """MB/s of downloads one after another, connection and request included."""
    buffer, times = bytearray(1 << 18), []
    for _ in range(count):
        begun = time.perf_counter()
        got = 0
        with server.connect(tls) as client:
            client.sendall(download_request(size, b"Connection: close\r\n"))
            while piece := client.recv_into(buffer):
                got += piece
        times.append(time.perf_counter() - begun)
        assert got > size, got
    return rate(size, times)


def complete(reply):
    """Is this a whole reply, in chunks or with a length?"""
    head, found, body = reply.partition(b"\r\n\r\n")
    length = re.search(rb"Content-Length: (\d+)", head)
    return bool(found) and (len(body) == int(length.group(1)) if length else body.endswith(b"\r\n0\r\n\r\n"))


def kept_request(client):
    """One download of 1 KB on a connection that stays open."""
    client.sendall(download_request(1024))
    reply = b""
    while not complete(reply):
        piece = client.recv(65536)
        assert piece, reply
        reply += piece


def kept_download(server, tls=False, count=40):
    """Milliseconds of each of many small downloads on one kept connection."""
    times = []
    with server.connect(tls) as client:
        for _ in range(count):
            begun = time.perf_counter()
            kept_request(client)
            times.append((time.perf_counter() - begun) * 1000)
    return {"value": statistics.median(times), "operations": count, "p99": sorted(times)[count * 99 // 100]}


def preview(server, seconds, viewers, tls=False):
    """Pictures per second, all viewers together."""
    totals = [0] * viewers
    deadline = time.perf_counter() + seconds

    def view(index):
        buffer = bytearray(1 << 18)
        with server.connect(tls) as client:
            client.sendall(b"GET /stream HTTP/1.1\r\nHost: x\r\n\r\n")
            while time.perf_counter() < deadline:
                totals[index] += client.recv_into(buffer)

    in_threads([threading.Thread(target=view, args=(i,)) for i in range(viewers)])
    pictures = sum(totals) / PICTURE
    return {"value": pictures / seconds, "operations": pictures}


def paced_preview(server, seconds, viewers):
    """Pictures per second, all viewers together, of a host that paces them itself; the operations are the seconds."""
    counts, ready = [0] * viewers, threading.Barrier(viewers + 1)

    def view(index):
        with server.connect() as client:
            client.sendall(b"GET /stream HTTP/1.1\r\nHost: x\r\n\r\n")
            rest = client.recv(1 << 18)
            ready.wait()
            deadline = time.perf_counter() + seconds
            while time.perf_counter() < deadline:
                rest = rest[-len(PART):] + client.recv(1 << 18)
                counts[index] += rest.count(PART, 1)

    threads = [threading.Thread(target=view, args=(i,)) for i in range(viewers)]
    for thread in threads:
        thread.start()
    ready.wait()
    for thread in threads:
        thread.join()
    return {"value": sum(counts) / seconds, "operations": seconds}


def in_threads(threads):
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()


def open_socket(server, timeout=120):
    """A WebSocket that gets whatever is sent from now on."""
    client = server.connect(timeout=timeout)
    client.sendall(b"GET /websocket HTTP/1.1\r\nHost: x\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
                   b"Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n"
                   b"Sec-WebSocket-Protocol: " + server.fresh_token().encode() + b"\r\n\r\n")
    head = b""
    while b"\r\n\r\n" not in head:
        head += client.recv(1)
    if server.name == "kit":  # greets with a text, and sends nothing else before
        client.recv(EVENT_FRAME, socket.MSG_WAITALL)
    return client


def broadcast(server, clients, texts):
    """Texts per second that reach the clients, all together."""
    sockets = [open_socket(server) for _ in range(clients)]
    order = str(texts).encode()
    buffer = bytearray(1 << 18)
    left = dict.fromkeys(sockets, EVENT_FRAME * texts)
    with selectors.DefaultSelector() as readable:
        for client in sockets:
            readable.register(client, selectors.EVENT_READ)
        begun = time.perf_counter()
        sockets[0].sendall(bytes([0x81, 0x80 | len(order)]) + b"\0\0\0\0" + order)
        while left:
            for client in [key.fileobj for key, _ in readable.select()]:
                count = client.recv_into(buffer)
                assert count > 0, "the server closed"
                left[client] -= count
                if left[client] <= 0:
                    readable.unregister(client)
                    del left[client]
    took = time.perf_counter() - begun
    close_sockets(sockets)
    return {"value": clients * texts / took, "operations": clients * texts}


def close_sockets(sockets):
    for client in sockets:
        client.shutdown(socket.SHUT_WR)
    for client in sockets:
        while client.recv(1 << 16):
            pass
        client.close()
