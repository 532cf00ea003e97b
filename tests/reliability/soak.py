"""Mixed load on the simulated device; prints what it does and what it holds, every tenth of the time."""
import base64
import json
import os
import re
import socket
import subprocess
import sys
import tempfile
import threading
import time

from program import free_port

CLIENTS = 8


class Load:
    def __init__(self, port):
        self.port = port
        self.lock = threading.Lock()
        self.requests = self.errors = 0
        self.stopping = threading.Event()

    def note(self, good, what):
        with self.lock:
            self.requests += 1
            self.errors += not good
        if not good:
            print(f"error: {what}", flush=True)

    def exchange(self, request, enough=None):
        received = b""
        with socket.create_connection(("127.0.0.1", self.port), 30) as connection:
            connection.sendall(request)
            while not (enough and enough(received)):
                piece = connection.recv(65536)
                if not piece:
                    break
                received += piece
        return received

    def ask(self, what, token, method="GET", headers="", body=b"", enough=None, status=b"200"):
        head = f"{method} {what} HTTP/1.1\r\nHost: d\r\nConnection: close\r\nAuthorization: Bearer {token}\r\n{headers}"
        head += f"Content-Length: {len(body)}\r\n\r\n"
        reply = self.exchange(head.encode() + body, enough)
        self.note(reply[9:12] == status, f"{what}: {reply[:40]!r}")
        return reply

    def round(self):
        reply = self.ask("/api/v1/auth/login", "", "POST", body=b'{"username":"admin","password":"admin"}')
        token = json.loads(reply.partition(b"\r\n\r\n")[2]).get("token", "")
        for path in ("/dev_info", "/getTxRxList", "/getprivjson", "/sim/units", "/sim/status", "/log", "/download/logo"):
            self.ask(path, token)
        form = b'--BBBB\r\nContent-Disposition: form-data; name="f"; filename="note"\r\n\r\n' + b"n" * 50000 + b"\r\n--BBBB--\r\n"
        self.ask("/sim/upload", token, "POST", "Content-Type: multipart/form-data; boundary=BBBB\r\n", form)
        self.ask("/preview/TX01", token, enough=lambda got: len(got) > 200000)
        self.web_socket(token)

    def web_socket(self, token):
        """Its close ends the login."""
        key = base64.b64encode(os.urandom(16)).decode()
        reply = self.exchange(f"GET /ws HTTP/1.1\r\nHost: d\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: 13\r\n"
                              f"Sec-WebSocket-Key: {key}\r\nSec-WebSocket-Protocol: {token}\r\n\r\n".encode(), lambda got: b'"hello"' in got)
        self.note(b'"hello"' in reply, f"web socket: {reply[:40]!r}")

    def run(self):
        while not self.stopping.is_set():
            try:
                self.round()
            except OSError as error:
                self.note(False, str(error))


def status_of(pid):
    with open(f"/proc/{pid}/status", encoding="ascii") as file:
        text = file.read()
    number = lambda name: int(re.search(rf"^{name}:\s+(\d+)", text, re.M).group(1))
    return number("VmRSS"), len(os.listdir(f"/proc/{pid}/fd")), number("Threads")


def start(program, port, folder):
    process = subprocess.Popen([program, "--http-port", str(port), "--https-port", "0", "--data-dir", folder,
                                "--first-password", "admin"],
                               stdout=subprocess.PIPE, text=True)
    for line in process.stdout:
        if line.strip() == "ready":
            return process
    raise RuntimeError("the simulated device does not start")


def main():
    seconds = float(sys.argv[2]) * 60
    with tempfile.TemporaryDirectory() as folder:
        port = free_port()
        process = start(sys.argv[1], port, folder)
        threading.Thread(target=lambda: [None for _ in process.stdout], daemon=True).start()
        load = Load(port)
        threads = [threading.Thread(target=load.run) for _ in range(CLIENTS)]
        for thread in threads:
            thread.start()
        print(f"{'s':>6} {'requests':>9} {'errors':>7} {'memory KiB':>11} {'handles':>8} {'threads':>8}")
        begin = time.monotonic()
        for step in range(1, 11):
            time.sleep(max(0.0, begin + seconds * step / 10 - time.monotonic()))
            memory, handles, count = status_of(process.pid)
            print(f"{time.monotonic() - begin:6.0f} {load.requests:9} {load.errors:7} {memory:11} {handles:8} {count:8}", flush=True)
        load.stopping.set()
        for thread in threads:
            thread.join()
        process.terminate()
        code = process.wait(30)
    print(f"simulated device ended with {code}")
    return 0 if load.errors == 0 and code == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
