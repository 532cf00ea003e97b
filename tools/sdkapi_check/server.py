"""What the web server answers by itself, and the routes that the host adds."""
from __future__ import annotations

import secrets

from . import routes
from .rules import composed_fault, web_server_fault
from .target import Target
from .transfer import download_fault
from .wire import BROKEN_FORM, Exchange, form, request

_OUTSIDE = ("/../../../../etc/passwd", "/%2e%2e/%2e%2e/%2e%2e/%2e%2e/etc/passwd", "/..%2f..%2f..%2f..%2fetc/passwd", "/..\\..\\..\\..\\etc\\passwd",
            "//etc/passwd", "/./../.././../etc/passwd")
_LIMIT = 2 << 20


def check_server(target: Target) -> None:
    report = target.report
    report.area = "server"
    nowhere = target.ask("GET", f"/sdkapi-check-{secrets.token_hex(6)}", None)
    report.must("/NOWHERE", "an unknown path is a 404 with the security headers", web_server_fault(nowhere, (404,)), nowhere)
    for path in (path + "x" for path in routes.EXACT):
        exchange = target.ask("GET", path)
        report.must(path, "exact routes do not match longer paths", web_server_fault(exchange, (404,)), exchange)
    for path in _OUTSIDE:
        exchange = target.ask("GET", path, None, limit=_LIMIT)
        report.must(path, "nothing outside of the document root", "the machine's users can be read" if b"root:" in exchange.body else "", exchange)
    for path in ("/", "/build.config", "/error.log", "/device.db", "/tls/server.pem", "/log/device.log"):
        exchange = target.ask("GET", path, None, limit=_LIMIT)
        if path == "/":
            report.must(path, "no list of files", "it is one" if exchange.status == 200 and b"Index of" in exchange.body else "", exchange)
        else:
            report.should(path, "the device's own files are not public", "it is" if exchange.status == 200 else "", Exchange(exchange.sent, exchange.received[:400]))
    origin = target.endpoint.exchange(request("GET", "/dev_info", target.token, headers=("Origin: https://elsewhere.example",)))
    report.must("/dev_info", "other origins are not let in", "" if origin.header("Access-Control-Allow-Origin") is None else "they are", origin)
    kept = target.endpoint.exchange(request("GET", "/dev_info", target.token, close=False))
    report.must("/dev_info", "the device ends the connection unasked", "" if kept.ended else "it stays open", kept)
    for version in ("1.0",):
        old = target.endpoint.exchange(b"GET /dev_info HTTP/" + version.encode() + b"\r\n\r\n")
        report.must("/dev_info", "HTTP/1.0 is answered", composed_fault(old, (401,), b"") if target.gated else "" if old.status else "no answer", old)
    head = target.ask("HEAD", "/" + secrets.token_hex(6), None)
    report.must("/NOWHERE", "HEAD is answered", "" if head.status == 404 else f"the status is {head.status}", head)


def check_custom(target: Target) -> None:
    """Routes of the host's own: PATH, upload:PATH or download:PATH."""
    target.report.area = "own routes"
    for told in target.options.custom:
        kind, found, path = told.partition(":")
        if not found:
            kind, path = "get", told
        {"get": _check_get, "upload": _check_upload, "download": _check_download}[kind](target, path)


def _check_own_gate(target: Target, path: str) -> None:
    if not target.gated:
        return
    ended = target.new_login()
    target.log_out(ended)
    for rule, token in (("no token", None), ("an unknown token", "sdkapi-check"), ("a token cut by one", target.token[:-1]), ("an ended login's token", ended)):
        exchange = target.ask("GET", path, token)
        target.report.must(path, f"{rule} is refused", composed_fault(exchange, (401,), b""), exchange)
    exchange = target.ask("POST", path, None, *BROKEN_FORM)
    target.report.must(path, "no token is refused to POST", composed_fault(exchange, (401,), b""), exchange)


def _check_get(target: Target, path: str) -> None:
    _check_own_gate(target, path)
    exchange = target.ask("GET", path)
    fault = "" if 200 <= exchange.status < 300 and exchange.ended else f"the status is {exchange.status}"
    if not fault and exchange.header("Content-Length") not in (None, str(len(exchange.body))):
        fault = f"Content-Length is {exchange.header('Content-Length')}, the body has {len(exchange.body)} bytes"
    target.report.must(path, "GET is answered", fault, exchange)


def _check_upload(target: Target, path: str) -> None:
    _check_own_gate(target, path)
    if not target.options.write:
        target.report.not_tested(path, "uploads only with --write")
        return
    exchange = target.send_form(path, form(b"sdkapi check\n", "check.txt"))
    target.report.must(path, "an upload is answered", composed_fault(exchange, (200, 401, 500), b""), exchange)


def _check_download(target: Target, path: str) -> None:
    _check_own_gate(target, path)
    exchange = target.ask("GET", path, limit=_LIMIT)
    fault = download_fault(exchange, _LIMIT)[0] if exchange.status == 200 else composed_fault(exchange, (401, 500), b"")
    target.report.must(path, "head and chunks as fixed", fault, exchange)
