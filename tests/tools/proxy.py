"""A proxy between the check and a real device, which damages one thing."""
import re
import select
import socket
import ssl
import threading
from dataclasses import dataclass, field
from typing import Callable

STREAMS = re.compile(r"/(stream|preview|ws$)")


@dataclass
class Request:
    """A request as the proxy sees it."""

    head: bytes
    first: int  # bytes that came with the first read
    proxy: "Proxy"
    body: bytes = b""

    def __post_init__(self):
        words = self.head.split(b"\r\n")[0].decode("latin-1").split(" ")
        self.method, self.target = (words + ["", ""])[:2]
        self.path = self.target.partition("?")[0]

    def header(self, name):
        found = re.search(rb"(?im)^" + name.encode() + rb": ?(.*?)\r?$", self.head)
        return found.group(1).decode("latin-1") if found else None

    @property
    def token(self):
        return (self.header("Authorization") or "")[7:]

    def with_token(self, token):
        """The head with another token, whatever it had."""
        head = re.sub(rb"(?im)^Authorization:.*\r\n", b"", self.head)
        return head.replace(b"\r\n", b"\r\nAuthorization: Bearer " + token.encode() + b"\r\n", 1)


@dataclass
class Fault:
    """One deliberate fault. `finds` is part of the finding that it must cause, as "subject: rule"."""

    name: str
    finds: str
    when: Callable = lambda request: True
    request: Callable = None  # (request) -> the head that the device gets
    answer: Callable = None  # (request) -> the reply, without the device
    reply: Callable = None  # (request, whole reply) -> another one
    stream: Callable = None  # (request, piece, state) -> another piece, of a stream
    stays_open: bool = False
    ends_at_binary: bool = False
    ends_others: bool = False
    options: dict = field(default_factory=dict)


class Guarded:
    """A TLS connection that two threads use: OpenSSL wants one at a time."""

    def __init__(self, connection):
        self.connection, self.lock = connection, threading.Lock()

    def recv(self, size):
        if not self.connection.pending() and not select.select([self.connection], [], [], 30)[0]:
            raise TimeoutError
        with self.lock:
            return self.connection.recv(size)

    def sendall(self, data):
        with self.lock:
            self.connection.sendall(data)

    def __getattr__(self, name):
        return getattr(self.connection, name)


class Proxy:
    """Listens on a port of its own, and knows a login of the device that always works. Of several faults the first one damages a request that is for it."""

    def __init__(self, device, faults, context=None, limit=None):
        self.device, self.faults, self.context = device, faults, context
        self.good = device.log_in()
        self.ended, self.channels, self.state, self.issued = set(), [], {}, []
        self.room = threading.Semaphore(limit) if limit else None
        self.listener = socket.create_server(("127.0.0.1", 0), backlog=128)
        self.port = self.listener.getsockname()[1]
        threading.Thread(target=self.accept, daemon=True).start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.listener.close()

    def accept(self):
        while True:
            try:
                client, _ = self.listener.accept()
            except OSError:
                return
            threading.Thread(target=self.serve_guarded, args=(client,), daemon=True).start()

    def serve_guarded(self, client):
        if self.room:
            self.room.acquire()
        try:
            client.settimeout(30)
            if self.context:
                plain = client.recv(1, socket.MSG_PEEK) != b"\x16" and self.hit(Request(b"plain", 0, self))
                if plain and plain.answer:
                    client.recv(4096)
                    client.sendall(plain.answer(None))
                    return
                client = Guarded(self.context.wrap_socket(client, server_side=True))
            self.serve(client)
        except OSError:
            pass
        finally:
            self.end(client)
            if self.room:
                self.room.release()

    def hit(self, request):
        """The fault that damages this request."""
        return next((fault for fault in self.faults if fault.when(request)), None)

    @staticmethod
    def end(client):
        """Also while another thread reads from it."""
        try:
            client.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass
        client.close()

    def serve(self, client):
        first = data = client.recv(65536)
        while b"\r\n\r\n" not in data:
            piece = client.recv(65536)
            if not piece:
                return
            data += piece
        head, _, body = data.partition(b"\r\n\r\n")
        request = Request(head + b"\r\n\r\n", len(first), self, body)
        hit = self.hit(request)
        if hit and hit.answer:
            answer = hit.answer(request)
            if answer is not None:
                self.read_body(client, request)
                client.sendall(answer)
                return
        with self.device.connect() as device:
            device.settimeout(30)
            head = hit.request(request) if hit and hit.request else request.head  # which may have another body then
            device.sendall(head + request.body)
            self.pass_on(client, device, request, hit)

    @staticmethod
    def read_body(client, request):
        left = int(request.header("Content-Length") or 0) - len(request.body)
        while left > 0 and (piece := client.recv(min(left, 65536))):
            left -= len(piece)

    def pass_on(self, client, device, request, hit):
        streaming = STREAMS.match(request.path) and request.method == "GET"
        up = threading.Thread(target=self.upwards, args=(client, device, request, hit), daemon=True)
        up.start()
        if streaming:
            self.channels.append((request, client, device))
            self.stream(client, device, request, hit)
            return
        reply = b""
        while piece := device.recv(65536):
            reply += piece
        self.note(request, reply)
        if hit and hit.reply:
            reply = hit.reply(request, reply)
        client.sendall(reply)
        if hit and hit.stays_open:
            client.settimeout(None)
            up.join(60)
        else:
            # Bytes that nobody read would take the reply with them.
            client.shutdown(socket.SHUT_WR)
            up.join(5)

    def note(self, request, reply):
        """What the faults know: the tokens that were given out, and those that ended."""
        if request.path == "/logout" and b" 200 " in reply[:20]:
            self.ended.add(request.token)
        if request.path == "/api/v1/auth/login" and (found := re.search(rb'"token":"([^"]+)"', reply)):
            self.issued.append(found.group(1).decode())

    def stream(self, client, device, request, hit):
        state = {}
        while piece := device.recv(65536):
            if hit and hit.stream:
                piece = hit.stream(request, piece, state)
                if piece is None:
                    return
            client.sendall(piece)
        if hit and hit.stays_open:
            client.settimeout(None)
            state["waiting"] = True
            threading.Event().wait(15)

    def upwards(self, client, device, request, hit):
        """From the client to the device, until one of them ends."""
        try:
            while piece := client.recv(65536):
                if hit and hit.ends_at_binary and piece[0] & 15 == 2:
                    break
                device.sendall(piece)
        except (OSError, ValueError):
            pass
        if hit and hit.stays_open:
            return
        try:
            device.shutdown(socket.SHUT_RDWR if STREAMS.match(request.path) else socket.SHUT_WR)
            if hit and hit.ends_others:
                for other, its_client, its_device in self.channels:
                    if other is not request and other.path == request.path:
                        its_device.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass


def server_context(folder, certificate, *, versions=None, ciphers="DEFAULT:@SECLEVEL=0", protocol=ssl.PROTOCOL_TLS_SERVER):
    path = folder / "server.pem"
    path.write_bytes(certificate)
    context = ssl.SSLContext(protocol)
    context.load_cert_chain(path)
    context.set_ciphers(ciphers)
    context.minimum_version, context.maximum_version = versions or (ssl.TLSVersion.TLSv1_2, ssl.TLSVersion.TLSv1_3)
    return context
