"""Which certificate a device may show."""
from __future__ import annotations

import hashlib
import socket
import ssl
from dataclasses import dataclass
from urllib.parse import urlsplit

from .errors import CertificateError, Unreachable

# OpenSSL's X509_V_FLAG_NO_CHECK_TIME, which the ssl module does not name.
_NO_CHECK_TIME = 0x200000


@dataclass(frozen=True)
class Trust:
    """What proves that a device is the right one.

    `pin`: its own certificate (PEM); then neither its name nor the clocks of both sides count. `ca_file`: a file of authorities;
    then the name in the certificate must be the one in the URL. Neither: the authorities of this system.
    """

    pin: str | None = None
    ca_file: str | None = None

    def context(self) -> ssl.SSLContext:
        if self.pin is not None:
            context = ssl.SSLContext(ssl.PROTOCOL_TLS_CLIENT)
            context.check_hostname = False
            try:
                context.load_verify_locations(cadata=self.pin)
            except (ssl.SSLError, ValueError) as error:
                raise CertificateError(f"the certificate that was kept is damaged: {error}", "keep it anew: `sdkapi login --trust-new`") from None
            context.verify_flags = ssl.VerifyFlags(context.verify_flags | ssl.VERIFY_X509_PARTIAL_CHAIN | _NO_CHECK_TIME)
            return context
        try:
            return ssl.create_default_context(cafile=self.ca_file)
        except (OSError, ssl.SSLError) as error:
            raise CertificateError(f"{self.ca_file} cannot be used: {error}", "it has to hold certificates as PEM") from None


def certificate_of(url: str, timeout: float = 30.0) -> str:
    """The certificate (PEM) that the device at an https URL shows, whatever it is."""
    parts = urlsplit(url)
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_CLIENT)
    context.check_hostname = False
    context.verify_mode = ssl.CERT_NONE
    try:
        with socket.create_connection((parts.hostname or "", parts.port or 443), timeout) as raw:
            with context.wrap_socket(raw, server_hostname=parts.hostname) as tls:
                return ssl.DER_cert_to_PEM_cert(tls.getpeercert(True) or b"")
    except (OSError, ssl.SSLError) as error:
        raise Unreachable(f"no TLS connection to {url}: {error}", "is this the port for HTTPS?") from None


def fingerprint(pem: str) -> str:
    """SHA-256 of a certificate, as people compare it."""
    digest = hashlib.sha256(ssl.PEM_cert_to_DER_cert(pem)).hexdigest().upper()
    return ":".join(digest[index:index + 2] for index in range(0, len(digest), 2))
