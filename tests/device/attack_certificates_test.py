#!/usr/bin/python3
"""Certificates that would stop the next start: it works all the same, with the last good one, and the log says why.

usage: attack_certificates_test.py SIMULATOR [REGEX]
"""
import contextlib
import functools
import pathlib
import ssl
import subprocess
import tempfile

from attacks import device_with, folder_of, get, hold, kept, log_of, send
from files import certificate

HTTPS, PORT = "/api/v1/security/https_setting", "/api/v1/security/ieee802_1x_setting"
LATER = ("/upload/security", "/upload/sub/security")  # these answer 500 to everything that they refuse


def made(*options, dates=(), phrase=None, kind=("rsa:2048",)):
    """A self-signed certificate and its key."""
    with tempfile.TemporaryDirectory() as name:
        run = functools.partial(subprocess.run, cwd=name, check=True, capture_output=True)
        folder = pathlib.Path(name)
        run(["openssl", "req", "-newkey", *kind, "-keyout", "key.pem", "-out", "request.pem", "-subj", "/CN=attack",
             *(("-passout", f"pass:{phrase}") if phrase else ("-nodes",)), *options])
        (folder / "index.txt").touch()
        (folder / "ca.cnf").write_text("[ca]\ndefault_ca = own\n[own]\ndatabase = index.txt\nserial = serial\nnew_certs_dir = .\n"
                                       "default_md = sha256\npolicy = any\n[any]\ncommonName = supplied\n")
        begin, end = dates or ("20200101000000Z", "20490101000000Z")
        run(["openssl", "ca", "-selfsign", "-batch", "-config", "ca.cnf", "-keyfile", "key.pem", "-in", "request.pem", "-out", "cert.pem",
             "-notext", "-create_serial", "-startdate", begin, "-enddate", end, *(("-passin", f"pass:{phrase}") if phrase else ())])
        return (folder / "cert.pem").read_bytes(), (folder / "key.pem").read_bytes()


def bad_ones():
    """What each is, the status while it arrives and behind its end, and the beginning of the reason."""
    (cert, key), (other, other_key) = made(), made()
    expired = b"".join(made(dates=("20200101000000Z", "20210101000000Z")))
    weak = b"".join(made(kind=("rsa:1024",)))
    locked = b"".join(made(phrase="unknown phrase"))
    lines = cert.splitlines(keepends=True)
    return {
        "another's key": (cert + other_key, 406, "its key cannot be used"),
        "a weak key": (weak, 406, ""),
        "a key that does not open": (locked, 406, "its key is broken, or does not open"),
        "an expired one": (expired, 500, "it has expired"),
        "a broken certificate": (b"".join(lines[:5] + lines[6:]) + key, 406, "a certificate in it is broken"),
        "a certificate that was cut": (cert[:500], 500, ""),
        "a key that was cut": (cert + key[:800], 500, ""),
        "a chain that was cut": (cert + key + other[:500], 500, "its chain cannot be used"),
        "a chain that is broken": (cert + key + b"".join(other.splitlines(keepends=True)[:5]) + b"-----END CERTIFICATE-----\n", 406,
                                   "a certificate in it is broken"),
        "a certificate without a key": (cert, 500, ""),
        "a key without a certificate": (key, 500, "its certificate cannot be used"),
        "a request in its place": (b"-----BEGIN CERTIFICATE REQUEST-----\nMAA=\n-----END CERTIFICATE REQUEST-----\n" + key, 500,
                                   "its certificate cannot be used"),
        "a picture": (b"\x89PNG\r\n\x1a\n" + bytes(1000), 406, "it is no PEM file"),
        "nothing": (b"", 500, ""),
        "a line without an end": (b"-----BEGIN CERTIFICATE-----" + b"A" * 200000, 500, ""),
        "more than is taken": (cert + key + b"\n" * (1 << 18), 406, "it is too large"),
    }


def in_use(device):
    return ssl.get_server_certificate(("127.0.0.1", device.port))


def restart(device):
    assert device.stop() == 0
    device.start()


def check_restart(device, expected, said):
    """The device starts with the certificate that is expected, and its log says so."""
    seen = len(log_of(device, "device.log"))
    restart(device)
    assert in_use(device) == expected
    assert said in log_of(device, "device.log")[seen:]
    assert get(device, "/sim/units").status == 200


def uploads_that_would_stop_the_start(device):
    first, before = in_use(device), kept(device, "tls", "tmp")
    for what, (content, status, reason) in bad_ones().items():
        for path in (HTTPS, PORT, *LATER):
            seen = len(log_of(device, "device.log"))
            reply = send(device, path, content, "c.pem")
            assert reply.status == (500 if path in LATER else status), (what, path, reply.raw[:30], log_of(device, "device.log")[seen:])
            assert f'({path}): {reason}' in log_of(device, "device.log"), (what, path)
            assert kept(device, "tls", "tmp") == before, (what, path)
    check_restart(device, first, "")


def ones_that_turned_bad_while_they_waited(device):
    """Taken, and changed on the disk before the start."""
    first = in_use(device)
    for what, (content, _, _) in bad_ones().items():
        if what in ("an expired one", "a chain that was cut"):
            continue  # the server loads these
        assert send(device, HTTPS, certificate()).status == 200
        folder_of(device, "tls/server.pending.pem").write_bytes(content)
        check_restart(device, first, "certificate: the uploaded certificate cannot be used: ")


def a_certificate_in_use_that_turned_bad(device):
    """The one before is used again; without one the device makes its own."""
    first = in_use(device)
    assert send(device, HTTPS, certificate()).status == 200
    restart(device)
    assert in_use(device) != first
    folder_of(device, "tls/server.pem").write_bytes(b"")
    check_restart(device, first, "certificate: the certificate in use cannot be loaded any more: ")
    for name in ("server.pem", "server.previous.pem"):
        folder_of(device, f"tls/{name}").write_bytes(b"broken")
    restart(device)
    assert in_use(device) != first
    assert get(device, "/sim/units").status == 200


def dates_before_they_begin(device):
    """The clock of a device may be wrong: one that is not valid yet is taken, and used."""
    cert, key = made(dates=("20480101000000Z", "20490101000000Z"))
    assert send(device, HTTPS, cert + key).status == 200
    restart(device)
    assert in_use(device).split() == cert.decode().split()


def an_upload_that_breaks_off(device):
    first, before = in_use(device), kept(device, "tls")
    content = certificate() + b"\n" * 100000
    with contextlib.suppress(OSError), device.connect() as client:
        head = f"POST {HTTPS} HTTP/1.1\r\nHost: 127.0.0.1\r\nAuthorization: Bearer {device.token()}\r\nContent-Length: 200000\r\n"
        form = "Content-Type: multipart/form-data; boundary=b\r\n\r\n--b\r\nContent-Disposition: form-data; name=f; filename=c\r\n\r\n"
        client.sendall((head + form).encode() + content)
    device.lose_power()
    assert kept(device, "tls") == before
    assert in_use(device) == first


hold(dict.fromkeys((uploads_that_would_stop_the_start, ones_that_turned_bad_while_they_waited, a_certificate_in_use_that_turned_bad,
                    dates_before_they_begin, an_upload_that_breaks_off), device_with(tls=True)))
