"""Kilobytes that one connection, stream, WebSocket, upload and login add, library against bare."""
import socket
import statistics
import time

from load import close_sockets, open_socket
from servers import AUTH, Server

HELD = 40
LOGINS = 1000


def idle(server):
    return server.connect()


def stream(server):
    client = server.connect()
    # A small window: what the kernel holds for a slow viewer is not the server's memory.
    client.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
    client.sendall(b"GET /stream HTTP/1.1\r\nHost: x\r\n\r\n")
    client.recv(1000)
    return client


def upload(server):
    """Half an upload: its head and the first kilobyte of its file."""
    client = server.connect()
    client.sendall(b"POST /upload/bg HTTP/1.1\r\nHost: x\r\n" + AUTH +
                   b"Content-Type: multipart/form-data; boundary=BOUND\r\nContent-Length: 1048576\r\n\r\n"
                   b'--BOUND\r\nContent-Disposition: form-data; name="f"; filename="f"\r\n\r\n' + b"u" * 1024)
    return client


def held(build, name, folder, open_one):
    """Kilobytes for each of many that are open at once, in a process of its own."""
    server = Server(build, name, folder)
    before = server.memory()
    clients = [open_one(server) for _ in range(HELD)]
    time.sleep(0.5)
    result = (server.memory() - before) / HELD
    if open_one is open_socket:
        close_sockets(server, clients)
    for client in clients:
        client.close()
    server.stop()
    return result


def logins(build, folder):
    server = Server(build, "library", folder)
    before = server.memory()
    for index in range(LOGINS):
        server.login(f"other-{index}")
    result = (server.memory() - before) / LOGINS
    server.stop()
    return result


def measure(build, folder, rounds=3):
    rows = []
    for label, open_one in (("idle connection", idle), ("preview stream", stream), ("WebSocket", open_socket),
                            ("upload under way", upload)):
        figures = {name: statistics.median(held(build, name, folder, open_one) for _ in range(rounds))
                   for name in ("library", "bare")}
        ratio = figures["library"] / figures["bare"]
        rows.append({"name": label, **figures, "ratio": ratio})
        print(f"memory, {label:20} {figures['library']:10.1f} {figures['bare']:10.1f} KiB ratio {ratio:.3f}", flush=True)
    rows.append({"name": "login", "library": logins(build, folder)})
    print(f"memory, {'login':20} {rows[-1]['library']:10.1f} KiB", flush=True)
    return rows
