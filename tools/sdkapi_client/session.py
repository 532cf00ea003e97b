"""What both clients share: the address, the token, and how failures of the connection are told."""
from __future__ import annotations

import ipaddress
import re
import ssl
from collections.abc import Iterator
from contextlib import contextmanager
from urllib.parse import urlsplit

import httpx

from .errors import BadReply, CertificateError, InvalidAddress, Refused, Unreachable
from .trust import Trust

_PORTS = {"http": 80, "https": 443}


def normal_url(url: str) -> str:
    """`host`, `host:port` or a URL, as scheme://host[:port]: one spelling for each device."""
    try:
        parts = urlsplit(url if "://" in url else f"http://{url}")
        port, host = parts.port, _host(parts.hostname or "")
        default = _PORTS[parts.scheme]
    except (KeyError, ValueError, httpx.InvalidURL):  # of which UnicodeError is one
        port, host, default = 0, "", 0
    if not host or port == 0:
        raise InvalidAddress(f"'{url}' is no address of a device", "write it as http://HOST:PORT or https://HOST:PORT; an IPv6 address stands in brackets")
    return f"{parts.scheme}://{host}" + ("" if port in (None, default) else f":{port}")


def _host(name: str) -> str:
    """A name or address as it goes into a URL; raises ValueError when it is none."""
    if ":" in name:
        return f"[{ipaddress.IPv6Address(name)}]"
    found = name.encode("idna").decode() if name else ""
    if not re.fullmatch(r"[a-z0-9_]([a-z0-9_.-]*[a-z0-9_])?\.?", found):
        raise ValueError(name)
    return httpx.URL(f"http://{found}").host and found


class Session:
    """Address, token and trust of one device."""

    def __init__(self, url: str, *, token: str = "", trust: Trust | None = None, timeout: float = 30.0) -> None:
        self.url, self.token, self.timeout = normal_url(url), token, timeout
        self.context: ssl.SSLContext | None = (trust or Trust()).context() if self.url.startswith("https") else None

    def headers(self) -> dict[bytes, bytes]:
        """As bytes: a device may give tokens of any characters."""
        return {b"Authorization": f"Bearer {self.token}".encode()} if self.token else {}

    def at(self, path: str) -> str:
        """Always at this device: a path that is an address of its own must not lead the token elsewhere."""
        return f"{self.url}/{path.lstrip('/')}"

    def settings(self) -> dict[str, object]:
        return {"verify": self.context if self.context is not None else False, "timeout": self.timeout, "trust_env": False}

    @contextmanager
    def told(self) -> Iterator[None]:
        """Tells what the connection's failures mean."""
        try:
            yield
        except httpx.RemoteProtocolError as error:
            if "without sending a response" in str(error):
                raise Refused("the device ended the connection without an answer", "is this the port for HTTPS? else its log tells why: `sdkapi download log`") from None
            if "peer closed" not in str(error):
                raise BadReply(f"{self.url} does not speak HTTP: {error}", "is this the port of the device, and https for TLS?") from None
            raise BadReply(f"the answer broke off: {error}", "try again; if it stays, the file may be missing on the device") from None
        except httpx.TimeoutException:
            raise Unreachable(f"{self.url} does not answer in {self.timeout:g} s", "is the device busy, or is --timeout too short?") from None
        except httpx.TransportError as error:
            if "CERTIFICATE_VERIFY_FAILED" in str(error):
                raise CertificateError.refused(self.url, _verdict(str(error))) from None
            raise Unreachable(f"no connection to {self.url}: {error}", "is the device on, and is the port right?") from None
        except (httpx.HTTPError, httpx.InvalidURL) as error:
            raise BadReply(f"this is no answer that can be read: {error}", "is this a device with the device API?") from None


def _verdict(text: str) -> str:
    """What OpenSSL says, out of "[SSL: ...] certificate verify failed: the reason (_ssl.c:1006)"."""
    found = re.search(r"verify failed: (.*?)(?: \(_ssl|$)", text)
    return found.group(1) if found else ""
