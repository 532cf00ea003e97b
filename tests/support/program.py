"""A program under test: a free port for it, and waiting until it listens."""
import random
import socket
import time
import urllib.error
import urllib.request


def free_port():
    """Below the ports that the system gives to clients: nobody's outgoing connection takes it before the program does."""
    for _ in range(1000):
        port = random.randrange(10000, 32000)
        with socket.socket() as probe:
            try:
                probe.bind(("", port))
                return port
            except OSError:
                pass
    raise AssertionError("no free port")


def wait_for(port, process):
    deadline = time.monotonic() + 30
    while time.monotonic() < deadline and process.poll() is None:
        with socket.socket() as probe:
            if probe.connect_ex(("127.0.0.1", port)) == 0:
                return
        time.sleep(0.02)
    raise AssertionError("the program does not listen")


def wait_for_route(port, path, process):
    """A host binds its own routes after the start: until then they are unknown."""
    deadline = time.monotonic() + 30
    while time.monotonic() < deadline and process.poll() is None:
        try:
            urllib.request.urlopen(f"http://127.0.0.1:{port}{path}", timeout=30).close()
            return
        except urllib.error.HTTPError as error:
            if error.code != 404:
                return
        time.sleep(0.02)
    raise AssertionError(f"{path} is not bound")
