"""What one request costs in system calls (strace) and in instructions (callgrind)."""
import pathlib
import re
import subprocess
import threading
import time

from load import PATTERNS, download_request, in_threads, upload_head
from servers import AUTH, REQUESTS, Server

CLIENTS, EACH = 8, 100
# The first requests also pay for what each worker does once.
WARM = 250


def system_calls(bench, name, requests):
    """Calls by name in a server's whole life with so many requests from eight clients at once."""
    report = bench.folder / "strace.out"
    report.unlink(missing_ok=True)
    server = Server(bench, name, under=("strace", "-D", "-f", "-c", "-U", "name,calls", "-o", str(report)))

    def ask():
        for _ in range(requests // CLIENTS):
            server.ask(REQUESTS["device"])

    in_threads([threading.Thread(target=ask) for _ in range(CLIENTS)])
    server.stop()
    deadline = time.monotonic() + 30
    while not (report.exists() and "\ntotal " in report.read_text()):
        if time.monotonic() > deadline:
            raise RuntimeError("strace leaves no report")
        time.sleep(0.05)
    return {call: int(count) for call, count in re.findall(r"^(\w+) +(\d+)$", report.read_text(), re.M) if call != "total"}


def calls_per_request(subject):
    """System calls of a closing GET, and which they are."""
    idle, busy = (system_calls(subject.bench, subject.name, requests) for requests in (0, CLIENTS * EACH))
    each = {call: (count - idle.get(call, 0)) / (CLIENTS * EACH) for call, count in busy.items()}
    most = sorted(((count, call) for call, count in each.items() if count >= 0.05), reverse=True)
    return {"value": sum(each.values()), "detail": ", ".join(f"{call} {count:.1f}" for count, call in most)}


# callgrind counts a string instruction once for each byte, while a core clears or copies 32 of them at a time: with
# this the C library of the server under it uses vectors for all sizes.
WITHOUT_STRING_INSTRUCTIONS = "glibc.cpu.x86_rep_stosb_threshold=100000000:glibc.cpu.x86_rep_movsb_threshold=100000000"


class Counted:
    """A server under callgrind, which counts the instructions of chosen requests."""

    def __init__(self, bench, name, routes):
        self.profile = bench.folder / f"callgrind.{name}.{routes}"
        self.server = Server(bench, name, routes,
                             under=("env", f"GLIBC_TUNABLES={WITHOUT_STRING_INSTRUCTIONS}", "valgrind", "-q",
                                    "--tool=callgrind", f"--callgrind-out-file={self.profile}"))
        self.dumps, self.logins = 0, 1

    def monitor(self, command):
        subprocess.run(["vgdb", f"--pid={self.server.process.pid}", "-c", command], check=True, capture_output=True)

    def ask(self, request, times):
        for _ in range(times):
            reply = self.server.ask(request)
            assert reply.startswith((b"HTTP/1.1 200", b"HTTP/1.1 401")), reply[:200]

    def count(self, request, warm, times):
        self.ask(request, warm)
        self.monitor("zero")
        self.ask(request, times)
        self.monitor("dump")
        self.dumps += 1
        text = pathlib.Path(f"{self.profile}.{self.dumps}").read_text()
        return int(re.search(r"^summary: (\d+)", text, re.M).group(1)) / times

    def stop(self):
        self.server.stop()


def whole_upload(pattern, size=1 << 20):
    head, end = upload_head(size)
    return head + PATTERNS[pattern][:size] + end


def instructions(request, routes=0):
    """A measurement: instructions of one request, of a large one by fewer repetitions."""
    large = len(request) > 1000 or b"/download/" in request
    return lambda subject: {"value": subject.counted(routes).count(request, *((10, 10) if large else (WARM, 100)))}


def large_download():
    return download_request(1 << 20, b"Connection: close\r\n")


def newest_login(logins):
    """A measurement: instructions of a GET with the token that registered last of so many."""
    def measure(subject):
        counted = subject.counted(0)
        while counted.logins < logins:
            counted.logins += 1
            counted.server.login(f"login-{counted.logins}")
        token = b"Authorization: Bearer login-%d\r\n" % logins if logins > 1 else AUTH
        return {"value": counted.count(REQUESTS["device"].replace(AUTH, token), WARM, 100)}
    return measure
