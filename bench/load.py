"""The clients of the benchmarks: each function drives one server and returns one figure."""
import re
import selectors
import socket
import statistics
import subprocess
import threading
import time

from servers import AUTH, PICTURE, TOKEN

EVENT_FRAME = 2 + len('{"type":"status","uptime":123456,"temperature":41.5,"clients":10,"online":8}')


def milliseconds(text):
    value, unit = re.fullmatch(r"([\d.]+)(us|ms|s)", text).groups()
    return float(value) * {"us": 0.001, "ms": 1, "s": 1000}[unit]


def wrk(server, path, seconds, tls=False, script=None):
    """Requests per second, median and 99th percentile in milliseconds, of eight clients whose replies close."""
    url = f"{'https' if tls else 'http'}://127.0.0.1:{server.https if tls else server.http}{path}"
    command = ["wrk", "-t1", "-c8", f"-d{seconds}s", "--latency", "-H", f"Authorization: Bearer {TOKEN}", url]
    if script:
        command[1:1] = ["-s", script]
    text = subprocess.run(command, capture_output=True, text=True, check=True).stdout
    if "Non-2xx" in text:
        raise RuntimeError(f"{server.name}: {text}")
    latencies = [milliseconds(re.search(rf"^ +{part}% +(\S+)", text, re.M).group(1)) for part in (50, 99)]
    return float(re.search(r"Requests/sec:\s+([\d.]+)", text).group(1)), *latencies


def post_file(server, size, tls=False):
    """MB/s of one upload, connection and reply included."""
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


def download_request(size, extra=b""):
    return b"GET /download/setting?method=%d HTTP/1.1\r\nHost: x\r\n%s%s\r\n" % (size, extra, AUTH)


def get_file(server, size, tls=False):
    """MB/s of one download, connection and request included."""
    begun = time.perf_counter()
    got = 0
    with server.connect(tls) as client:
        client.sendall(download_request(size, b"Connection: close\r\n"))
        buffer = bytearray(1 << 18)
        while count := client.recv_into(buffer):
            got += count
    assert got > size, got
    return size / (time.perf_counter() - begun) / 1e6


def kept_download(server, tls=False, count=50):
    """Milliseconds of each of many 1 KB downloads on one kept connection."""
    times = []
    end = b"\r\n0\r\n\r\n" if server.name == "library" else None
    with server.connect(tls) as client:
        for _ in range(count):
            begun = time.perf_counter()
            client.sendall(download_request(1024))
            data = b""
            while not (data.endswith(end) if end else len(data.partition(b"\r\n\r\n")[2]) == 1024):
                piece = client.recv(65536)
                assert piece, data
                data += piece
            times.append((time.perf_counter() - begun) * 1000)
    return statistics.median(times)


def many(count, seconds, work):
    """What count threads move together, per second."""
    totals = [0] * count
    deadline = time.perf_counter() + seconds

    def run(index):
        totals[index] = work(deadline)

    run_all([threading.Thread(target=run, args=(i,)) for i in range(count)])
    return sum(totals) / seconds


def run_all(threads):
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()


def watch(server, viewers, seconds, tls=False):
    """Preview pictures per second, all viewers together."""
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
    """A WebSocket after its handshake."""
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
    rate = clients * texts / (time.perf_counter() - begun)
    close_sockets(server, sockets)
    return rate


def close_sockets(server, sockets):
    """Closes them and logs in again: a WebSocket that closes ends its login."""
    for client in sockets:
        client.shutdown(socket.SHUT_WR)
    for client in sockets:
        while client.recv(1 << 16):
            pass
        client.close()
    if server.name == "library":
        server.login()
