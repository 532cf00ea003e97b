"""Requests and replies byte by byte: what a client library would hide is what the check looks at."""
from __future__ import annotations

import secrets
import socket
import ssl
import time
from dataclasses import dataclass, field
from urllib.parse import urlsplit

from sdkapi_client.errors import CertificateError, Unreachable
from sdkapi_client.session import normal_url

LIMIT = 16 << 20


@dataclass
class Exchange:
    """What was sent on a connection of its own, and what came back."""

    sent: bytes
    received: bytes = b""
    ended: bool = False  # the device has ended the connection

    @property
    def head(self) -> bytes:
        return self.received.partition(b"\r\n\r\n")[0]

    @property
    def lines(self) -> list[str]:
        return self.head.decode("latin-1").split("\r\n")

    @property
    def body(self) -> bytes:
        return self.received.partition(b"\r\n\r\n")[2]

    @property
    def status(self) -> int:
        """0 when there is no status line."""
        words = self.lines[0].split(" ")
        return int(words[1]) if len(words) > 1 and words[0].startswith("HTTP/") and words[1].isdigit() else 0

    def header(self, name: str) -> str | None:
        for line in self.lines[1:]:
            key, found, value = line.partition(":")
            if found and key.lower() == name.lower():
                return value.strip()
        return None


@dataclass
class Endpoint:
    """Where the device listens."""

    url: str
    context: ssl.SSLContext | None = None
    timeout: float = 10.0
    opened: int = field(default=0)

    def __post_init__(self) -> None:
        self.url = normal_url(self.url)
        parts = urlsplit(self.url)
        self.host, self.port = parts.hostname or "", parts.port or (443 if parts.scheme == "https" else 80)
        self.tls = parts.scheme == "https"

    def connect_plain(self) -> socket.socket:
        try:
            raw = socket.create_connection((self.host, self.port), self.timeout)
        except OSError as error:
            raise Unreachable(f"no connection to {self.url}: {error}", "is the device on, and is the port right?") from None
        raw.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        return raw

    def connect(self) -> socket.socket:
        raw = self.connect_plain()
        if self.context is None:
            return raw
        try:
            return self.context.wrap_socket(raw, server_hostname=self.host)
        except ssl.SSLCertVerificationError as error:
            raise CertificateError(f"the certificate of {self.url} is not the trusted one: {error.verify_message}", "name its file with --cacert") from None
        except (OSError, ssl.SSLError) as error:
            raise Unreachable(f"no TLS connection to {self.url}: {error}", "is this the port for HTTPS?") from None

    def exchange(self, request: bytes, *, limit: int = LIMIT, seconds: float | None = None, pieces: int = 0) -> Exchange:
        """Sends a request, in pieces of so many bytes when asked for, and reads until the device ends the connection."""
        result = Exchange(request)
        with self.connect() as connection:
            try:
                for begin in range(0, len(request), pieces or len(request) or 1):
                    connection.sendall(request[begin:begin + (pieces or len(request))])
            except OSError:
                pass  # what it answered before it closed still counts
            receive(connection, result, limit, time.monotonic() + (seconds if seconds is not None else self.timeout))
        return result


def receive(connection: socket.socket, result: Exchange, limit: int, deadline: float) -> None:
    """Reads until the end, the limit, or the deadline."""
    data = bytearray(result.received)
    try:
        while len(data) < limit and (left := deadline - time.monotonic()) > 0:
            connection.settimeout(left)
            piece = connection.recv(65536)
            if not piece:
                result.ended = True
                break
            data += piece
    except (TimeoutError, ssl.SSLWantReadError):
        pass
    except OSError:
        result.ended = True
    result.received = bytes(data)


def request(method: str, path: str, token: str | None = None, body: bytes | None = None, content_type: str = "", close: bool = True,
            headers: tuple[str, ...] = ()) -> bytes:
    lines = [f"{method} {path} HTTP/1.1", "Host: localhost", "User-Agent: sdkapi-check"]
    if close:
        lines.append("Connection: close")
    if token is not None:
        lines.append(f"Authorization: Bearer {token}")
    if content_type:
        lines.append(f"Content-Type: {content_type}")
    if body is not None:
        lines.append(f"Content-Length: {len(body)}")
    return "\r\n".join([*lines, *headers]).encode("utf-8") + b"\r\n\r\n" + (body or b"")


def form(content: bytes, name: str = "check.bin", field_name: str = "file") -> tuple[bytes, str]:
    """A form with one file, and its content type."""
    boundary = "check-" + secrets.token_hex(8)
    head = f'--{boundary}\r\nContent-Disposition: form-data; name="{field_name}"; filename="{name}"\r\n\r\n'
    return head.encode() + content + f"\r\n--{boundary}--\r\n".encode(), f"multipart/form-data; boundary={boundary}"


# A form that cannot be parsed: no device function gets to see it.
BROKEN_FORM = (b"no form", "multipart/form-data")
