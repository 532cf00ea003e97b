"""Instructions per request, counted by callgrind: the same for the same binary, whatever else the machine does."""
import pathlib
import re
import subprocess

from load import download_request
from servers import AUTH, Server

# The first requests also pay for what each of the fifty workers does once.
FEW, MORE = 100, 300


def upload_request(size):
    body = (b'--BOUND\r\nContent-Disposition: form-data; name="f"; filename="f"\r\n\r\n' + b"u" * size +
            b"\r\n--BOUND--\r\n")
    return (b"POST /upload/bg HTTP/1.1\r\nHost: x\r\n" + AUTH +
            b"Content-Type: multipart/form-data; boundary=BOUND\r\nContent-Length: %d\r\n\r\n" % len(body) + body)


def login_request():
    body = b'{"username":"guest","password":"x"}'
    return b"POST /api/v1/auth/login HTTP/1.1\r\nHost: x\r\nContent-Length: %d\r\n\r\n%s" % (len(body), body)


def requests():
    return {"device information": b"GET /dev_info HTTP/1.1\r\nHost: x\r\n" + AUTH + b"\r\n",
            "login": login_request(),
            "upload 1 MB": upload_request(1 << 20),
            "download 1 MB": download_request(1 << 20, b"Connection: close\r\n")}


def count(build, name, folder, request, times, logins=0, routes=0):
    """Instructions of a server's whole life with so many requests."""
    profile = pathlib.Path(folder) / "callgrind.out"
    server = Server(build, name, folder, routes, before=logins,
                    under=("valgrind", "-q", "--tool=callgrind", f"--callgrind-out-file={profile}"))
    for _ in range(times):
        reply = server.ask(request)
        assert reply.startswith(b"HTTP/1.1 200"), reply[:200]
    server.stop()
    return int(re.search(r"^(?:summary|totals): (\d+)", profile.read_text(), re.M).group(1))


def per_request(build, name, folder, request, rounds=(FEW, MORE), **state):
    few, more = (count(build, name, folder, request, times, **state) for times in rounds)
    return (more - few) / (rounds[1] - rounds[0])


def measure(build, folder):
    """Rows of name, library, bare, ratio."""
    if subprocess.run(["valgrind", "--version"], capture_output=True, check=False).returncode != 0:
        raise RuntimeError("valgrind is not installed")
    rows = []
    for name, request in requests().items():
        rounds = (60, 80) if "MB" in name else (FEW, MORE)
        library = per_request(build, "library", folder, request, rounds)
        bare = per_request(build, "bare", folder, request, rounds)
        rows.append({"name": name, "library": library, "bare": bare, "ratio": library / bare})
        print(f"instructions, {name:24} {library:12.0f} {bare:12.0f} ratio {library / bare:.2f}", flush=True)
    return rows
