"""The small host as a child process, raw sockets to it, and what the operating system says about it."""
import os
import socket
import subprocess
import sys
import time

PATIENCE = 60.0


class Server:
    def __init__(self, *options):
        self.process = subprocess.Popen([sys.argv[1], *options], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        words = self.process.stdout.readline().split()
        assert words[:1] == ["ready"], "the server does not start"
        self.http, self.https = int(words[1]), int(words[2])

    def connect(self, timeout=PATIENCE):
        return socket.create_connection(("127.0.0.1", self.http), timeout)

    def healthy(self, timeout=2.0):
        """Whether an ordinary client is answered."""
        try:
            return exchange(self, b"GET /dev_info HTTP/1.1\r\nHost: d\r\n\r\n", timeout).startswith(b"HTTP/1.1 200 OK\r\n")
        except OSError:
            return False

    def seconds_until_healthy(self):
        begin = time.monotonic()
        while not self.healthy():
            assert time.monotonic() - begin < PATIENCE, "no healthy client is answered"
            assert self.process.poll() is None, "the server is gone"
        return time.monotonic() - begin

    def memory(self):
        """Resident and virtual memory and threads, as the system words them."""
        with open(f"/proc/{self.process.pid}/status") as status:
            lines = [line.split() for line in status if line.startswith(("VmRSS", "VmSize", "Threads"))]
        return ", ".join(f"{words[0]} {words[1]}" for words in lines)

    def open_files(self):
        return len(os.listdir(f"/proc/{self.process.pid}/fd"))

    def stop(self):
        self.process.stdin.close()
        return self.process.wait(PATIENCE)


def read_to_end(connection):
    received = b""
    try:
        while piece := connection.recv(65536):
            received += piece
    except ConnectionResetError:
        pass
    return received


def exchange(server, request, timeout=PATIENCE):
    with server.connect(timeout) as connection:
        connection.sendall(request)
        return read_to_end(connection)
