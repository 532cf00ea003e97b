"""What both clients share: the address, the token, and how failures of the connection are told."""
from __future__ import annotations

import ssl
from collections.abc import Iterator
from contextlib import contextmanager
from urllib.parse import urlsplit

import httpx

from .errors import BadReply, CertificateError, Refused, SdkapiError, Unreachable
from .trust import Trust


def normal_url(url: str) -> str:
    """`host`, `host:port` or a URL, as scheme://host[:port]."""
    parts = urlsplit(url if "://" in url else f"http://{url}")
    try:
        usable = parts.scheme in ("http", "https") and parts.hostname and parts.port != 0
    except ValueError:
        usable = False
    if not usable:
        raise SdkapiError(f"'{url}' is no address of a device", "write it as http://HOST:PORT or https://HOST:PORT")
    return f"{parts.scheme}://{parts.netloc.rpartition('@')[2]}"


class Session:
    """Address, token and trust of one device."""

    def __init__(self, url: str, *, token: str = "", trust: Trust | None = None, timeout: float = 30.0) -> None:
        self.url, self.token, self.timeout = normal_url(url), token, timeout
        self.context: ssl.SSLContext | None = (trust or Trust()).context() if self.url.startswith("https") else None

    def headers(self) -> dict[str, str]:
        return {"Authorization": f"Bearer {self.token}"} if self.token else {}

    def settings(self) -> dict[str, object]:
        return {"base_url": self.url, "verify": self.context if self.context is not None else False, "timeout": self.timeout, "trust_env": False}

    @contextmanager
    def told(self) -> Iterator[None]:
        """Tells what the connection's failures mean."""
        try:
            yield
        except httpx.RemoteProtocolError as error:
            if "without sending a response" in str(error):
                raise Refused("the device ended the connection without an answer", "its log tells why: `sdkapi download log`") from None
            raise BadReply(f"the answer broke off: {error}", "try again; if it stays, the file may be missing on the device") from None
        except httpx.TimeoutException:
            raise Unreachable(f"{self.url} does not answer in {self.timeout:g} s", "is the device busy, or is --timeout too short?") from None
        except httpx.TransportError as error:
            if "CERTIFICATE_VERIFY_FAILED" in str(error):
                raise CertificateError.refused(self.url) from None
            raise Unreachable(f"no connection to {self.url}: {error}", "is the device on, and is the port right?") from None
