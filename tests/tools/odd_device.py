"""A device that answers as no device should: each path with what a test says."""
import json
import socket
import threading


def reply(body, *headers, status=b"200 OK"):
    lines = b"".join(line + b"\r\n" for line in headers)
    return b"HTTP/1.1 " + status + b"\r\n" + lines + b"Connection: close\r\n\r\n" + body


def document(value):
    """A value as a device sends JSON."""
    body = value if isinstance(value, bytes) else json.dumps(value).encode()
    return reply(body, b"Content-Length: %d" % len(body))


class OddDevice:
    """Answers a request whole; what has no answer is 404. `seen` holds the requests."""

    def __init__(self, answers):
        self.answers, self.seen = answers, []
        self.listener = socket.create_server(("127.0.0.1", 0), backlog=16)
        self.url = f"http://127.0.0.1:{self.listener.getsockname()[1]}"
        threading.Thread(target=self.serve, daemon=True).start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.listener.close()

    def serve(self):
        while True:
            try:
                client, _ = self.listener.accept()
            except OSError:
                return
            with client:
                try:
                    self.answer(client)
                except OSError:
                    pass

    def answer(self, client):
        client.settimeout(30)
        data = b""
        while b"\r\n\r\n" not in data and (piece := client.recv(65536)):
            data += piece
        head, _, body = data.partition(b"\r\n\r\n")
        length = next((int(line[15:]) for line in head.split(b"\r\n") if line.lower().startswith(b"content-length:")), 0)
        while len(body) < length and (piece := client.recv(65536)):
            body += piece
        self.seen.append(head + b"\r\n\r\n" + body)
        path = head.split(b" ")[1].decode().partition("?")[0]
        client.sendall(self.answers.get(path, reply(b"", b"Content-Length: 0", status=b"404 Not Found")))
        client.shutdown(socket.SHUT_WR)
        client.recv(1)
