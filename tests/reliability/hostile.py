"""Hostile clients: after each attack, and beside the slow ones, an ordinary client is answered again."""
import random
import resource
import socket
import ssl
import sys
import threading
import time

from server_process import PATIENCE, Server, exchange, read_to_end

CLOSE = b"Connection: close\r\n"
# Far below every time-out of the server, far above an answer's time on a busy machine.
PROMPTLY = 5


def hold(server, count, request):
    """Opens connections that send this and then nothing."""
    held = []
    for _ in range(count):
        connection = server.connect()
        connection.sendall(request)
        held.append(connection)
    return held


def drop(held):
    for connection in held:
        connection.close()


def slow_headers(server):
    return hold(server, 40, b"GET /dev_info HTTP/1.1\r\nHost: d\r\nX-")


def slow_bodies(server):
    return hold(server, 40, b"POST /createuser HTTP/1.1\r\nHost: d\r\nContent-Length: 400\r\n\r\n{")


def slow_readers(server):
    return hold(server, 40, b"GET /preview/TX01 HTTP/1.1\r\nHost: d\r\n\r\n")


def half_closed(server):
    held = hold(server, 40, b"GET /dev_info HTTP/1.1\r\nHos")
    for connection in held:
        connection.shutdown(socket.SHUT_WR)
    return held


def all_headers_then_nothing(server):
    """More than there are workers, and none of them holds one."""
    return hold(server, 120, b"GET /dev_info HTTP/1.1\r\nHost: d\r\nX-")


def connections_500(server):
    return hold(server, 500, b"")


def open_websocket(server, token):
    connection = server.connect()
    connection.sendall(WEBSOCKET.replace(b"Protocol: t", b"Protocol: " + token.encode()))
    while not connection.recv(1000).endswith(b"\r\n\r\n"):
        pass
    return connection


def stuck_websockets(server):
    """Each is sent back 4 MiB, and does not read."""
    held = [open_websocket(server, f"stuck{i}") for i in range(20)]
    for connection in held:
        connection.sendall(b"\x81\xff" + (1 << 22).to_bytes(8, "big") + bytes(4) + b"x" * (1 << 22))
    return held


def dripping_websockets(server):
    held = stuck_websockets(server)
    for _ in range(100):
        for connection in held:
            assert connection.recv(1), "the server closed"
    return held


def silent_120(server):
    return hold(server, 120, b"")


def one_byte_each(server):
    return hold(server, 300, b"G")


def silent_1000(server):
    return hold(server, 1000, b"")


def idle_kept_1000(server):
    held = hold(server, 1000, b"GET /index.html HTTP/1.1\r\nHost: d\r\n\r\n")
    for connection in held:
        assert connection.recv(65536).startswith(b"HTTP/1.1 200 OK\r\n")
    return held


def half_record_each(server):
    """Within TLS: a record of a request that is cut in its middle, which OpenSSL keeps as unread."""
    context = ssl.create_default_context()
    context.check_hostname, context.verify_mode = False, ssl.CERT_NONE
    held = []
    for _ in range(100):
        connection = socket.create_connection(("127.0.0.1", server.https), PATIENCE)
        incoming, outgoing = ssl.MemoryBIO(), ssl.MemoryBIO()
        tls = context.wrap_bio(incoming, outgoing)
        while True:
            try:
                tls.do_handshake()
                break
            except ssl.SSLWantReadError:
                connection.sendall(outgoing.read())
                incoming.write(connection.recv(65536))
        tls.write(b"GET /dev_info HTTP/1.1\r\nHost: d\r\n\r\n")
        connection.sendall(outgoing.read()[:-20])
        held.append(connection)
    return held


SLOW = [stuck_websockets, dripping_websockets, slow_headers, slow_bodies, slow_readers, half_closed]
FULL = [all_headers_then_nothing, connections_500, silent_120, one_byte_each, silent_1000, idle_kept_1000,
        half_record_each]


def pipelined(server):
    reply = exchange(server, b"GET /index.html HTTP/1.1\r\nHost: d\r\n\r\n" * 20 + b"GET /dev_info HTTP/1.1\r\nHost: d\r\n\r\n")
    assert reply.count(b"HTTP/1.1 200 OK\r\n") == 21, reply.count(b"HTTP/1.1 ")


def refused(reply):
    assert not reply.startswith(b"HTTP/1.1 200"), reply[:60]


def oversized_head(server):
    refused(exchange(server, b"GET / HTTP/1.1\r\nX: " + b"x" * 20000 + b"\r\n\r\n"))


def oversized_uri(server):
    refused(exchange(server, b"GET /" + b"x" * 15000 + b" HTTP/1.1\r\n" + CLOSE + b"\r\n"))


def oversized_body(server):
    body = b'{"username":"' + b"x" * 5_000_000 + b'"}'
    head = b"POST /createuser HTTP/1.1\r\nHost: d\r\nContent-Length: %d\r\n\r\n" % len(body)
    assert exchange(server, head + body).startswith(b"HTTP/1.1 ")


def negative_length(server):
    refused(exchange(server, b"POST /createuser HTTP/1.1\r\nHost: d\r\nContent-Length: -1\r\n\r\n"))


def two_lengths(server):
    reply = exchange(server, b"POST /createuser HTTP/1.1\r\nHost: d\r\nContent-Length: 2\r\nContent-Length: 40\r\n" + CLOSE + b"\r\n{}")
    assert reply == b"" or reply.startswith(b"HTTP/1.1 "), reply[:60]


def length_and_chunked(server):
    reply = exchange(server, b"POST /createuser HTTP/1.1\r\nHost: d\r\nContent-Length: 3\r\nTransfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n0\r\n\r\n")
    assert reply.startswith(b"HTTP/1.1 400 ") and reply.count(b"HTTP/1.1 ") == 1, reply


def paths(server):
    for path in ("/../secret.txt", "/..%2fsecret.txt", "/%2e%2e/secret.txt", "/..%5csecret.txt", "/www/../../secret.txt",
                 "//../secret.txt", "/....//secret.txt", "/%00/../secret.txt", "/./../secret.txt", "/..;/secret.txt"):
        reply = exchange(server, f"GET {path} HTTP/1.1\r\nHost: d\r\nConnection: close\r\n\r\n".encode())
        assert b"not below the document root" not in reply, path


def random_bytes(server):
    source = random.Random(7)
    for _ in range(300):
        with server.connect() as connection:
            connection.sendall(source.randbytes(source.randrange(1, 600)))
            connection.shutdown(socket.SHUT_WR)
            read_to_end(connection)


def resets(server):
    for _ in range(200):
        connection = server.connect()
        connection.sendall(b"GET /download/edid HTTP/1.1\r\nHost: d\r\n\r\n")
        connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, b"\1\0\0\0\0\0\0\0")
        connection.close()


UPLOADS = ["/upload/logo", "/upload/scene", "/upload/sub/upgrade", "/upload/security", "/api/v1/fw_upload",
           "/own/upload"]


def hostile_uploads(server):
    """Urlencoded bodies that an unmended parser reads for ever, and a part without a body."""
    forms = [(b"application/x-www-form-urlencoded", b"a=%", [b"200"]),
             (b"application/x-www-form-urlencoded", b"a=b\0%4", [b"200"]),
             (b"multipart/form-data; boundary=BBBB", b'--BBBB\r\nContent-Disposition: form-data; name="x"\r\n\r\n--BBBB--',
              [b"500", b"406"])]
    for route in UPLOADS:
        for content_type, body, answers in forms:
            reply = exchange(server, b"POST %s HTTP/1.1\r\nHost: d\r\nContent-Type: %s\r\nContent-Length: %d\r\n\r\n%s"
                             % (route.encode(), content_type, len(body), body))
            assert reply[9:12] in answers, (route, body, reply[:40])


QUICK = [pipelined, oversized_head, oversized_uri, oversized_body, negative_length, two_lengths, length_and_chunked, paths,
         random_bytes, resets, hostile_uploads]


class Drippers:
    """Clients that send a byte a second each, in a thread, until the server lets each of them go."""

    def __init__(self, server, count, request):
        self.open = hold(server, count, request)
        self.begin = time.monotonic()
        self.thread = threading.Thread(target=self.drip)
        self.thread.start()

    def drip(self):
        while self.open and time.monotonic() - self.begin < 2 * PATIENCE:
            self.open = [connection for connection in self.open if self.send(connection)]
            time.sleep(1)

    @staticmethod
    def send(connection):
        try:
            connection.sendall(b"x")
            return True
        except OSError:
            connection.close()
            return False

    def seconds_until_let_go(self):
        self.thread.join()
        assert not self.open, "dripping clients are not let go"
        return time.monotonic() - self.begin


def drip_behind_a_reply(server):
    """The route reads no body: its reply is there, and the body goes on."""
    return Drippers(server, 150, b"POST /dev_info HTTP/1.1\r\nHost: d\r\nContent-Length: 1000000\r\n\r\n")


FORM = (b"POST /upload/logo HTTP/1.1\r\nHost: d\r\nContent-Length: 1000000\r\n"
        b"Content-Type: multipart/form-data; boundary=BBBB\r\n\r\n"
        b'--BBBB\r\nContent-Disposition: form-data; name="f"; filename="f"\r\n\r\n')


def drip_uploads(server):
    return Drippers(server, 150, FORM)


def drip_uploads_to_all_workers(server):
    """More than there are workers: the others wait until the first are let go."""
    return Drippers(server, 250, FORM)


DRIPPING = [drip_behind_a_reply, drip_uploads, drip_uploads_to_all_workers]


def open_streams(server, request, accepted):
    """As many as are let in, and how the next one is answered."""
    held = []
    while True:
        assert len(held) < 200, "streams take every worker"
        connection = server.connect()
        connection.sendall(request)
        answer = connection.recv(20)
        if not answer.startswith(accepted):
            connection.close()
            return held, answer
        held.append(connection)


WEBSOCKET = (b"GET /ws HTTP/1.1\r\nHost: d\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: 13\r\n"
             b"Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Protocol: t\r\n\r\n")


def wait_until_closed(server, most):
    deadline = time.monotonic() + PATIENCE
    while server.open_files() > most:
        assert time.monotonic() < deadline, "file handles are left over"
        time.sleep(0.1)


def main():
    resource.setrlimit(resource.RLIMIT_NOFILE, (resource.getrlimit(resource.RLIMIT_NOFILE)[1],) * 2)
    server = Server()
    server.seconds_until_healthy()
    before = server.open_files()
    print(f"{'at start':26} {server.memory()}", flush=True)
    for attack in QUICK:
        attack(server)
        print(f"{attack.__name__:26} healthy after {server.seconds_until_healthy():5.1f} s", flush=True)
    for attack in SLOW + FULL:
        held = attack(server)
        beside = server.seconds_until_healthy()
        assert beside < PROMPTLY, f"{attack.__name__} delays others by {beside:.1f} s"
        drop(held)
        print(f"{attack.__name__:26} healthy beside {beside:5.1f} s, after {server.seconds_until_healthy():5.1f} s", flush=True)
    for attack in DRIPPING:
        drippers = attack(server)
        beside = server.seconds_until_healthy()
        print(f"{attack.__name__:26} healthy beside {beside:5.1f} s, let go after {drippers.seconds_until_let_go():5.1f} s", flush=True)
    for name, request, accepted in (("previews", b"GET /preview/TX01 HTTP/1.1\r\nHost: d\r\n\r\n", b"HTTP/1.1 200"),
                                    ("websockets", WEBSOCKET, b"HTTP/1.1 101")):
        wait_until_closed(server, before)  # until then a stream keeps its place
        held, answer = open_streams(server, request, accepted)
        assert len(held) == 184, len(held)
        beside = server.seconds_until_healthy()
        print(f"{name:26} {server.memory()}", flush=True)
        drop(held)
        print(f"{name:26} {len(held)} are let in, the next gets {answer[:12]!r}, healthy beside {beside:5.1f} s", flush=True)
    wait_until_closed(server, before)
    assert server.stop() == 0


if __name__ == "__main__":
    sys.exit(main())
