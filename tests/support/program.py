"""A program under test: a free port for it, and waiting until it listens."""
import socket
import time


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def wait_for(port, process):
    deadline = time.monotonic() + 30
    while time.monotonic() < deadline and process.poll() is None:
        with socket.socket() as probe:
            if probe.connect_ex(("127.0.0.1", port)) == 0:
                return
        time.sleep(0.02)
    raise AssertionError("the program does not listen")
