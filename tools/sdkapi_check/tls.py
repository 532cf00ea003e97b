"""TLS: versions, certificate, and what speaks none."""
from __future__ import annotations

import datetime
import ssl
import time
import warnings

from sdkapi_client.trust import certificate_of

from .report import Report
from .target import Target
from .wire import Exchange, receive

_V = ssl.TLSVersion
# Ordered as people read them: what must work, and what must not.
_VERSIONS = ((_V.TLSv1_2, True), (_V.TLSv1_1, False), (_V.TLSv1, False))


def check_tls(target: Target) -> None:
    report = target.report
    report.area = "TLS"
    if not target.endpoint.tls:
        report.not_tested("TLS", "the address is not https")
        return
    for version, wanted in _VERSIONS:
        works = _handshake(target, version)
        name = version.name.replace("_", ".")
        report.must(name, "is offered" if wanted else "is refused", "" if works == wanted else f"it is {'offered' if works else 'refused'}")
    for cipher in ("NULL", "EXPORT", "RC4", "aNULL"):
        report.must(cipher, "is refused", "it is offered" if _handshake(target, _V.TLSv1_2, cipher) else "")
    _check_plain(target)
    _check_certificate(target, report)


def _handshake(target: Target, version: ssl.TLSVersion, ciphers: str = "ALL:COMPLEMENTOFALL") -> bool:
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_CLIENT)
    context.check_hostname = False
    context.verify_mode = ssl.CERT_NONE
    with warnings.catch_warnings():
        warnings.simplefilter("ignore", DeprecationWarning)
        try:
            context.set_ciphers(f"{ciphers}:@SECLEVEL=0")
        except ssl.SSLError:
            return False  # our side has no such cipher
        context.minimum_version = context.maximum_version = version
    try:
        with target.endpoint.connect_plain() as raw, context.wrap_socket(raw, server_hostname=target.endpoint.host) as connection:
            return connection.version() is not None
    except OSError:
        return False


def _check_plain(target: Target) -> None:
    """A client without TLS gets no answer of the device."""
    result = Exchange(b"GET /iplogin HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n")
    with target.endpoint.connect_plain() as connection:
        connection.sendall(result.sent)
        receive(connection, result, 4096, time.monotonic() + target.endpoint.timeout)
    target.report.must("port", "plain HTTP is not answered here", "it is" if result.status == 200 else "", result)


def _check_certificate(target: Target, report: Report) -> None:
    found = _decoded(certificate_of(target.endpoint.url, target.endpoint.timeout))
    now = datetime.datetime.now(datetime.timezone.utc).timestamp()
    begin, end = (ssl.cert_time_to_seconds(str(found[name])) for name in ("notBefore", "notAfter"))
    report.should("certificate", "is valid now", "" if begin <= now <= end else f"it is valid from {found['notBefore']} to {found['notAfter']}")
    report.should("certificate", "is valid for a month more", "" if end - now > 30 * 86400 else f"it ends {found['notAfter']}")


def _decoded(pem: str) -> dict[str, object]:
    """The certificate's members, by the ssl module's own decoder, which reads files only."""
    import tempfile

    with tempfile.NamedTemporaryFile("w", suffix=".pem") as file:
        file.write(pem)
        file.flush()
        return dict(ssl._ssl._test_decode_cert(file.name))  # type: ignore[attr-defined]
