"""What connections cost that are open and do little, and what a process costs that does nothing."""
import socket
import statistics
import subprocess
import time

from load import kept_request, open_socket, upload_head
from servers import REQUESTS, Server

# Servers that give each connection a worker hold no more than this.
FEW, MANY = 40, 1000
LOGINS = 1000
PATIENCE = 3


def silent(server, tls):
    """Says nothing at all, or nothing after its handshake."""
    return server.connect(tls, PATIENCE)


def kept(server, tls):
    """Had an answer and stays."""
    client = server.connect(tls, PATIENCE)
    kept_request(client)
    return client


def stream(server, _tls):
    client = server.connect(timeout=PATIENCE)
    # A small window: what the kernel holds for a slow viewer is not the server's memory.
    client.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
    client.sendall(b"GET /stream HTTP/1.1\r\nHost: x\r\n\r\n")
    client.recv(1000)
    return client


def live(server, _tls):
    return open_socket(server, PATIENCE)


def uploading(server, _tls):
    """Half an upload: its head and the first kilobyte of its file."""
    client = server.connect(timeout=PATIENCE)
    client.sendall(upload_head(1 << 20)[0] + b"u" * 1024)
    return client


def open_many(server, count, kind, tls):
    """So many connections, or as many as the server takes."""
    clients = []
    try:
        while len(clients) < count:
            clients.append(kind(server, tls))
    except (TimeoutError, OSError):
        pass
    return clients


def settle(server):
    """Waits until the server's memory stands still."""
    before = -1
    while (now := server.memory()) != before:
        before = now
        time.sleep(0.2)
    return now


def close_all(clients):
    for client in clients:
        client.close()


def memory(kind, tls=False, count=FEW, beside=0):
    """A measurement: kilobytes of each connection; a server may hold fewer than asked for. Beside others of their
    kind they pass through workers that have their stacks and buffers already."""
    def measure(subject):
        server = Server(subject.bench, subject.name)
        many = subject.name == "library" or count <= FEW
        others = open_many(server, beside if many else FEW // 2, kind, tls) if beside else []
        before = settle(server)
        clients = open_many(server, count if many else FEW // 2, kind, tls)
        figure = {"value": (settle(server) - before) / len(clients)}
        if subject.name == "library" and len(clients) < count:
            figure["detail"] = f"{len(clients)} held"
        close_all(others + clients)
        server.stop()
        return figure
    return measure


def login_memory(subject):
    server = Server(subject.bench, subject.name)
    before = settle(server)
    for index in range(LOGINS):
        server.login(f"other-{index}")
    figure = {"value": (settle(server) - before) / LOGINS}
    server.stop()
    return figure


def beside(kind, tls=False):
    """A measurement: milliseconds of a GET beside a thousand connections."""
    def measure(subject):
        server = Server(subject.bench, subject.name)
        clients = open_many(server, MANY, kind, tls)
        times = []
        try:
            for _ in range(100):
                begun = time.perf_counter()
                server.ask(REQUESTS["device"], PATIENCE)
                times.append((time.perf_counter() - begun) * 1000)
            figure = {"value": statistics.median(times), "p99": max(times)}
        except (TimeoutError, OSError):
            figure = {"value": None, "detail": f"no answer within {PATIENCE} s"}
        if len(clients) < MANY:
            figure["detail"] = f"{figure.get('detail', '')} beside {len(clients)}".strip()
        close_all(clients)
        server.stop()
        return figure
    return measure


def life(what):
    """A measurement of a process that nobody asks for anything."""
    def measure(subject):
        server = Server(subject.bench, subject.name)
        clients = open_many(server, FEW, kept, False) if what == "stop beside kept connections" else []
        figures = {"start": server.start_seconds * 1000, "memory": server.idle_memory / 1024}
        stop = server.stop() * 1000
        close_all(clients)
        return {"value": figures.get(what, stop)}
    return measure


def stripped_size(subject):
    library = subject.bench.library(subject.name)
    stripped = subject.bench.folder / "stripped.so"
    subprocess.run(["strip", "-o", stripped, library], check=True)
    return {"value": stripped.stat().st_size}
