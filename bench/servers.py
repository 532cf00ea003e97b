"""The servers that the benchmarks start, the replies that all of them send, and the files they serve."""
import json
import os
import pathlib
import re
import shutil
import signal
import socket
import ssl
import subprocess
import time

from program import free_port, wait_for

TOKEN = "bench-token"
AUTH = f"Authorization: Bearer {TOKEN}\r\n".encode()
PICTURE = 100 * 1024
SIZES = {"1 KB": 1 << 10, "1 MB": 1 << 20, "200 MB": 200 << 20}
CONTEXT = ssl.SSLContext(ssl.PROTOCOL_TLS_CLIENT)
CONTEXT.check_hostname = False
CONTEXT.verify_mode = ssl.CERT_NONE

# What the tables call a server, and the program that it is. "before" is the library of another revision below the
# same host program.
LABELS = {"kit": "kit", "each": "an encoder a viewer", "library": "library", "before": "before", "twin": "bare twin", "microhttpd": "libmicrohttpd",
          "httplib": "cpp-httplib", "websockets": "libwebsockets", "nginx": "nginx", "raw": "limit"}
PROGRAMS = {"before": "library", "twin": "bare", "each": "kit"}

REQUESTS = {
    "device": b"GET /dev_info HTTP/1.1\r\nHost: x\r\n" + AUTH + b"\r\n",
    "login": b'POST /api/v1/auth/login HTTP/1.1\r\nHost: x\r\nContent-Length: 35\r\n\r\n{"username":"guest","password":"x"}',
    "refused": b"GET /dev_info HTTP/1.1\r\nHost: x\r\nAuthorization: Bearer nobody\r\n\r\n",
}

NGINX = """daemon off;
{user}worker_processes 2;
pid {folder}/nginx.pid;
error_log stderr crit;
events {{ worker_connections 4096; }}
http {{
  access_log off;
  server_tokens off;
  sendfile on;
  keepalive_requests 1000000000;
  default_type application/octet-stream;
  client_body_temp_path {folder}/nginx-body;
  proxy_temp_path {folder}/nginx-proxy;
  fastcgi_temp_path {folder}/nginx-fastcgi;
  uwsgi_temp_path {folder}/nginx-uwsgi;
  scgi_temp_path {folder}/nginx-scgi;
  server {{
    listen 127.0.0.1:{http};
    listen 127.0.0.1:{https} ssl;
    ssl_certificate {folder}/cert.pem;
    ssl_certificate_key {folder}/cert.pem;
    ssl_protocols TLSv1.2 TLSv1.3;
    ssl_ciphers AES128-GCM-SHA256;
    location = /dev_info {{
      keepalive_timeout 0;
      default_type "application/json; charset=utf-8;";
{headers}      return 200 '{body}';
    }}
    location = /download/setting {{
      root {folder};
      rewrite ^ /$arg_method break;
    }}
  }}
}}
"""


class Server:
    """One running server process, with so many routes of the host before its built-in ones are used."""

    def __init__(self, bench, name, routes=0, under=()):
        self.bench, self.name, self.logins = bench, name, 1
        self.is_library = name in ("library", "before", "kit", "each")
        self.http, self.https = free_port(), free_port()
        environment = dict(os.environ)
        if name == "before":
            environment["LD_LIBRARY_PATH"] = str(bench.before)
        begun = time.perf_counter()
        self.process = subprocess.Popen([*under, *self.command(routes)], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                        cwd=bench.folder, env=environment)
        if name != "nginx" and not self.process.stdout.readline():
            raise RuntimeError(f"{LABELS[name]} does not start")
        self.start_seconds = time.perf_counter() - begun
        wait_for(self.http, self.process)
        self.idle_memory = self.memory()
        if self.is_library:
            self.login()

    def command(self, routes):
        if self.name == "nginx":
            config = self.bench.folder / f"nginx-{self.http}.conf"
            config.write_text(nginx_config(self.bench.folder, self.http, self.https))
            return [shutil.which("nginx", path=os.environ["PATH"] + ":/usr/sbin"), "-e", "stderr", "-c", str(config)]
        program = f"{self.bench.build}/bench/bench-{PROGRAMS.get(self.name, self.name)}"
        return [program, str(self.http), str(self.https), f"{self.bench.folder}/cert.pem", str(self.bench.folder), str(routes), self.name]

    def connect(self, tls=False, timeout=120):
        raw = socket.create_connection(("127.0.0.1", self.https if tls else self.http), timeout=timeout)
        raw.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        return CONTEXT.wrap_socket(raw) if tls else raw

    def ask(self, request, timeout=120):
        """Sends one request on a connection of its own and reads until the server closes."""
        reply = b""
        with self.connect(timeout=timeout) as client:
            client.sendall(request)
            while piece := client.recv(1 << 18):
                reply += piece
        return reply

    def login(self, name=""):
        body = json.dumps({"username": name, "password": "x"}).encode()
        self.ask(b"POST /api/v1/auth/login HTTP/1.1\r\nHost: x\r\nContent-Length: %d\r\n\r\n%s" % (len(body), body))

    def fresh_token(self):
        """A token for WebSockets, whose close ends its login."""
        if not self.is_library:
            return TOKEN
        self.logins += 1
        token = f"token-{self.logins}"
        self.login(token)
        return token

    def processes(self):
        pid = self.process.pid
        children = pathlib.Path(f"/proc/{pid}/task/{pid}/children").read_text().split()
        return [pid, *map(int, children)]

    def cpu(self):
        """CPU seconds of all threads, ended ones included: the scheduler's own count, in nanoseconds."""
        return sum(time.clock_gettime((~pid << 3) | 2) for pid in self.processes())

    def switches(self):
        """Voluntary context switches of the threads that live."""
        total = 0
        for pid in self.processes():
            for status in pathlib.Path(f"/proc/{pid}/task").glob("*/status"):
                try:
                    total += int(re.search(r"^voluntary_ctxt_switches:\s+(\d+)", status.read_text(), re.M).group(1))
                except (FileNotFoundError, ProcessLookupError):
                    pass  # the thread has ended
        return total

    def memory(self):
        """Resident kilobytes; the sum over the mappings, as the process's own counter lags behind."""
        mappings = pathlib.Path(f"/proc/{self.process.pid}/smaps_rollup").read_text()
        return int(re.search(r"^Rss:\s+(\d+)", mappings, re.M).group(1))

    def stop(self):
        begun = time.perf_counter()
        self.process.send_signal(signal.SIGTERM)
        try:
            self.process.wait(30)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
        self.process.stdout.close()
        return time.perf_counter() - begun


def nginx_config(folder, http, https):
    head, _, body = (folder / "device.nginx").read_bytes().decode().partition("\r\n\r\n")
    headers = ""
    for line in head.split("\r\n")[1:]:
        name, _, value = line.partition(":")
        if name not in ("Content-Type", "Connection"):
            headers += f'      add_header {name} "{value.strip()}";\n'
    user = "user root;\n" if os.geteuid() == 0 else ""
    return NGINX.format(folder=folder, http=http, https=https, headers=headers, body=body, user=user)


def make_files(folder):
    """A certificate, files to download, and what wrk sends as a login."""
    subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", "key.pem", "-out", "c.pem",
                    "-days", "2", "-subj", "/CN=localhost"], cwd=folder, check=True, capture_output=True)
    (folder / "cert.pem").write_text((folder / "c.pem").read_text() + (folder / "key.pem").read_text())
    for size in SIZES.values():
        with open(folder / str(size), "wb") as file:
            for _ in range(max(1, size >> 20)):
                file.write(os.urandom(min(size, 1 << 20)))
    (folder / "login.lua").write_text('wrk.method="POST"\nwrk.body=[[{"username":"guest","password":"x"}]]\n')
    (folder / "refused.lua").write_text('wrk.headers["Authorization"]="Bearer nobody"\n')


def ask_all(bench, name, kinds=REQUESTS):
    """A server's replies."""
    server = Server(bench, name)
    replies = {kind: server.ask(REQUESTS[kind]) for kind in kinds}
    server.stop()
    return replies


def make_replies(bench):
    """Leaves the library's replies as files; for each peer with headers of its own, one that comes out as long."""
    replies = ask_all(bench, "library")
    for kind, reply in replies.items():
        (bench.folder / f"{kind}.reply").write_bytes(reply)
    for peer, kinds in (("microhttpd", REQUESTS), ("httplib", ["device"]), ("nginx", ["device"])):
        for kind in kinds:
            (bench.folder / f"{kind}.{peer}").write_bytes(without_own_headers(replies[kind]))
        for kind, reply in ask_all(bench, peer, kinds).items():
            path = bench.folder / f"{kind}.{peer}"
            path.write_bytes(resized(path.read_bytes(), len(reply) - len(replies[kind])))
        check_lengths(bench, peer, kinds, replies)
    check_lengths(bench, "twin", ["device", "login"], replies)
    check_lengths(bench, "raw", REQUESTS, replies)


def check_lengths(bench, name, kinds, expected):
    for kind, reply in ask_all(bench, name, kinds).items():
        if len(reply) != len(expected[kind]) or reply.partition(b"\r\n\r\n")[2] != expected[kind].partition(b"\r\n\r\n")[2]:
            raise RuntimeError(f"{LABELS[name]} sends another reply than the library: {reply}")


def without_own_headers(reply):
    """A reply without the headers that every peer adds by itself."""
    return re.sub(rb"(?m)^(?:Date|Content-Length):.*\r\n", b"", reply)


def resized(reply, excess):
    """Takes so many bytes from the value of a header that no client of a benchmark reads."""
    value = re.search(rb"(?m)^Cache-Control: (.*)\r\n", reply).group(1)
    return reply.replace(value, value[:len(value) - excess] if excess > 0 else value + b"x" * -excess)
