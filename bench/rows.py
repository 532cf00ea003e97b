"""The rows of the benchmarks: what is measured, with whom, what limits it, and what it should be."""
import functools
import re
import subprocess
from dataclasses import dataclass
from typing import Callable

import connections
import costs
import load
from servers import REQUESTS

SECONDS = 0.3
MIB = 1 << 20


@dataclass(frozen=True)
class Target:
    """The library's field against a bound; with a peer or another row, its ratio to the field there."""
    bound: float
    peer: str = ""
    row: str = ""
    field: str = "value"
    at_least: bool = False


@dataclass(frozen=True)
class Row:
    group: str
    name: str
    unit: str
    measure: Callable
    subjects: tuple
    per: str = ""              # what CPU time is counted for
    limit: str = ""            # what the subject "raw" does here
    lower_is_better: bool = False
    targets: tuple = ()
    rounds: int = 0            # 0: as many as the run has
    limits: tuple = ()         # further limits: pairs of name and a function that returns a figure


def loaded(work, *arguments, **named):
    """A measurement of a running server under load, with its CPU microseconds and voluntary switches per operation."""
    def measure(subject):
        server = subject.server()
        cpu, switches = server.cpu(), server.switches()
        figure = work(server, *arguments, **named)
        operations = figure.pop("operations")
        figure["cpu"] = (server.cpu() - cpu) * 1e6 / operations
        figure["switches"] = (server.switches() - switches) / operations
        return figure
    return measure


def speed(*arguments):
    done = subprocess.run(["openssl", "speed", "-mr", "-seconds", "1", *arguments], capture_output=True, text=True, check=True)
    return done.stdout


@functools.cache
def signature():
    """CPU microseconds of the one private RSA operation that a full handshake cannot do without."""
    return {"cpu": 1e6 / float(re.search(r"^\+F2:\d+:\d+:([\d.]+)", speed("rsa2048"), re.M).group(1))}


@functools.cache
def cipher():
    """MB/s that one core encrypts in TLS records of 16 KiB."""
    return {"value": float(re.findall(r"^\+F:.*:([\d.]+)$", speed("-bytes", "16384", "-evp", "aes-256-gcm"), re.M)[-1]) / 1e6}


def requests():
    peer = (Target(1.15, "microhttpd", field="cpu"), Target(0.95, "microhttpd", at_least=True), Target(1.8, field="switches"))
    for name, subjects, path, options in (
            ("GET", ("library", "before", "twin", "microhttpd", "httplib", "raw"), "/dev_info", {}),
            ("POST login", ("library", "before", "twin", "microhttpd", "raw"), "/api/v1/auth/login", {"script": "login.lua"}),
            ("GET refused with 401", ("library", "before", "microhttpd", "raw"), "/dev_info",
             {"script": "refused.lua", "expected": 401})):
        yield Row("requests", name, "requests/s", loaded(load.wrk, path, **options), subjects, "request",
                  "bare accept loop", targets=peer, rounds=3)
    yield Row("requests", "GET, system calls", "calls", costs.calls_per_request,
              ("library", "before", "twin", "microhttpd", "raw"), limit="bare accept loop", lower_is_better=True,
              targets=(Target(10.5),), rounds=1)


def tls():
    for version, bound in (("1.2", 1.1), ("1.3", 1.0)):
        for kind in ("full", "resumed"):
            targets = (Target(bound, "nginx", field="cpu"),) if kind == "resumed" else ()
            limits = (("openssl speed, one RSA-2048 signature", signature),) if kind == "full" else ()
            yield Row("tls", f"TLS {version} {kind}", "requests/s", loaded(load.handshakes, SECONDS, kind, version),
                      ("library", "before", "nginx"), "request", targets=targets, limits=limits)


def websocket():
    peers = ("library", "before", "websockets")
    for tls_on in (False, True):
        scheme = "wss" if tls_on else "ws"
        for size in (64, 1000):
            yield Row("websocket", f"{scheme} echo, {size} bytes", "ms", loaded(load.echo, SECONDS, size, tls_on),
                      peers if tls_on else (*peers, "raw"), "text", "raw echo", True, (Target(1.0, "websockets"),))
        yield Row("websocket", f"{scheme}, second of two frames", "ms", loaded(load.echo, SECONDS, 64, tls_on, "pair"), peers,
                  "text", lower_is_better=True, targets=(Target(1.0),))
    for clients in (1, 10, 40):
        yield Row("websocket", f"broadcast to {clients}", "texts/s", loaded(load.broadcast, clients, 120000 // clients),
                  ("library", "before", "twin", "raw"), "text", "one raw send a text and client",
                  targets=(Target(1.3, "before", at_least=True),))


def uploads():
    subjects = ("library", "before", "twin")
    for pattern in load.PATTERNS:
        yield Row("uploads", f"http 100 MiB, {pattern}", "MB/s",
                  loaded(load.upload, 100 * MIB, 1, pattern=pattern), (*subjects, "raw"), "MB", "raw receive of 16 KiB",
                  targets=(Target(2.0, "before", at_least=True),))
    yield Row("uploads", "https 100 MiB, one letter", "MB/s", loaded(load.upload, 100 * MIB, 1, True), subjects, "MB",
              limits=(("openssl speed, AES-256-GCM", cipher),))
    for tls_on in (False, True):
        scheme = "https" if tls_on else "http"
        yield Row("uploads", f"{scheme} 1 KB", "MB/s", loaded(load.upload, 1024, 100 if tls_on else 500, tls_on),
                  subjects, "MB")
        yield Row("uploads", f"{scheme} 1 MB", "MB/s", loaded(load.upload, MIB, 40, tls_on), subjects, "MB")


def downloads():
    peers = ("library", "before", "nginx")
    plain = (Target(1.3, "before", at_least=True), Target(0.9, "raw", at_least=True))
    for label, size, count in (("1 MB", MIB, 100), ("200 MB", 200 * MIB, 1)):
        yield Row("downloads", f"http {label}", "MB/s", loaded(load.download, size, count),
                  (*peers, "twin", "raw"), "MB", "raw send of 16 KiB", targets=plain)
    for label, size, count in (("1 MB", MIB, 40), ("200 MB", 200 * MIB, 1)):
        yield Row("downloads", f"https {label}", "MB/s", loaded(load.download, size, count, True),
                  peers, "MB", limits=(("openssl speed, AES-256-GCM", cipher),))
    for tls_on in (False, True):
        scheme, limit = ("https", ()) if tls_on else ("http", ("raw",))
        yield Row("downloads", f"{scheme} 1 KB, kept connection", "ms", loaded(load.kept_download, tls_on), (*peers, *limit),
                  "download", "raw send of 16 KiB", True, (Target(1.0),))
    for clients in (1, 8, 40):
        yield Row("downloads", f"http 1 KB, kept and busy, {clients} clients", "requests/s",
                  loaded(load.wrk, "/download/setting?method=1024", clients=clients), peers, "download",
                  targets=(Target(1.1, "before", field="cpu"),), rounds=3)


def previews():
    subjects = ("library", "before", "twin")
    for viewers in (1, 4, 16):
        yield Row("previews", f"http, {viewers} viewer{'s' * (viewers > 1)}", "pictures/s",
                  loaded(load.preview, SECONDS, viewers), (*subjects, "raw"), "picture", "raw send of a picture", rounds=3)
    yield Row("previews", "https, 4 viewers", "pictures/s", loaded(load.preview, SECONDS, 4, True), subjects, "picture",
              rounds=3)


def kit():
    for clients in (1, 10, 40):
        yield Row("kit", f"events to {clients} client{'s' * (clients > 1)}", "texts/s", loaded(load.broadcast, clients, 120000 // clients),
                  ("kit", "library"), "text", rounds=3)
    for viewers in (1, 4, 16):
        yield Row("kit", f"1280x720 raw, {viewers} viewer{'s' * (viewers > 1)}", "pictures/s", loaded(load.paced_preview, 1.0, viewers),
                  ("kit", "each"), "second", rounds=3)


def instructions():
    def row(name, measure, *targets, twin=True):
        subjects = ("library", "before", "twin") if twin else ("library", "before")
        return Row("instructions", name, "instructions", measure, subjects, lower_is_better=True, targets=targets, rounds=1)

    yield row("GET", costs.instructions(REQUESTS["device"]))
    yield row("POST login", costs.instructions(REQUESTS["login"]))
    yield row("GET refused with 401", costs.instructions(REQUESTS["refused"]), twin=False)
    for pattern in load.PATTERNS:
        yield row(f"upload 1 MiB, {pattern}", costs.instructions(costs.whole_upload(pattern)), Target(1.8e6 * MIB / 1e6))
    yield row("download 1 MiB", costs.instructions(costs.large_download()), Target(40000 * MIB / 1e6))
    for logins in (1, 10, 100, 1000):
        targets = (Target(1.05, row="GET, newest of 1 login"),) if logins == 1000 else ()
        yield row(f"GET, newest of {logins:,} login{'s' * (logins > 1)}", costs.newest_login(logins), *targets, twin=False)
    for routes in (10, 100, 1000):
        targets = (Target(45000),) if routes == 1000 else ()
        yield row(f"GET beside {routes:,} custom routes", costs.instructions(REQUESTS["device"], routes), *targets, twin=False)


def held():
    """Connections that are open and do little."""
    for scheme, tls_on, bound in (("http", False, 4), ("https", True, 48)):
        for name, kind in (("kept", connections.kept), ("silent", connections.silent)):
            yield Row("connections", f"{scheme}, {name}: memory", "KiB",
                      connections.memory(kind, tls_on, connections.MANY, beside=connections.MANY * (1 if tls_on else 3)),
                      ("library", "before"), lower_is_better=True, targets=(Target(bound),), rounds=1)
            yield Row("connections", f"GET beside 1,000 {name}, {scheme}", "ms", connections.beside(kind, tls_on),
                      ("library", "before"), lower_is_better=True, rounds=1)
    for name, kind, targets in (("preview stream", connections.stream, ()), ("WebSocket", connections.live, ()),
                                ("upload under way", connections.uploading, (Target(45),))):
        yield Row("connections", f"{name}: memory", "KiB", connections.memory(kind), ("library", "before", "twin"),
                  lower_is_better=True, targets=targets, rounds=3)
    yield Row("connections", "login: memory", "KiB", connections.login_memory, ("library", "before"), lower_is_better=True,
              rounds=1)


def process():
    subjects = ("library", "before", "twin")
    for name, unit, what, target in (
            ("start", "ms", "start", Target(1.1, "before")), ("stop", "ms", "stop", Target(100)),
            ("stop beside 40 kept connections", "ms", "stop beside kept connections", Target(100)),
            ("idle memory", "MiB", "memory", Target(1.1, "before"))):
        yield Row("process", name, unit, connections.life(what), subjects, lower_is_better=True, targets=(target,), rounds=3)
    yield Row("process", "stripped `libsdkapi.so`", "bytes", connections.stripped_size, ("library", "before"),
              lower_is_better=True, targets=(Target(1.1, "before"),), rounds=1)


def all_rows():
    for group in (requests, tls, websocket, uploads, downloads, previews, kit, instructions, held, process):
        yield from group()
