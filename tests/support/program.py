"""A program under test: a free port for it, and waiting until it listens."""
import functools
import itertools
import os
import random
import socket
import time
import urllib.error
import urllib.request


# Below the ports that the system gives to clients: nobody's outgoing connection takes one before the program does. The other tests'
# own ones are below these.
FIRST, END, BLOCK = 21000, 32000, 200


@functools.cache
def own_ports(process):
    """A block of ports for this process until it ends: no other test gets one of them while a program is down between two starts. A
    process that was forked gets one of its own."""
    starts = list(range(FIRST, END, BLOCK))
    random.shuffle(starts)
    for start in starts:
        claim = socket.socket(type=socket.SOCK_DGRAM)
        try:
            claim.bind(("127.0.0.1", start))
            return claim, itertools.cycle(range(start, start + BLOCK))
        except OSError:
            claim.close()
    raise AssertionError("no free block of ports")


def free_port():
    _, ports = own_ports(os.getpid())
    for port in itertools.islice(ports, BLOCK):
        with socket.socket() as probe:
            # As the programs do: what is left of closed connections is nobody's listener.
            probe.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
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
