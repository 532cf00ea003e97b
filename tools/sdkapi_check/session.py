"""Logins, their ends, and what every route asks of a token."""
from __future__ import annotations

import json

from . import routes
from .rules import clock_fault, composed_fault, members_fault, parsed
from .target import Target
from .wire import Exchange, request

_NOBODY = "sdkapi-check-nobody"


def begin(target: Target) -> bool:
    """Finds out whether the device asks for logins, and logs in; without a login nothing else can be tested."""
    report = target.report
    report.area = "session"
    first = target.ask("GET", "/dev_info", "nobody's token")
    target.gated = first.status == 401
    report.must("/dev_info", "an answer to a token that nobody has", composed_fault(first, (200, 401, 500)) if first.status != 404 else "", first)
    report.should("/dev_info", "the clock is right", clock_fault(first.lines[1]) if first.status == 401 else "", first)
    _switch(target)
    if not target.gated:
        report.not_tested("logins", "the device asks for none")
        return True
    exchange, target.token = target.try_login(target.options.user, target.options.password)
    return report.must(routes.LOGIN, "the right password logs in", _success_fault(exchange), exchange)


def _switch(target: Target) -> None:
    exchange = target.ask("GET", routes.SWITCH, None)
    if exchange.status == 404:
        target.report.not_offered(routes.SWITCH, "404")
        return
    target.offered.add(routes.SWITCH)
    expected = b'{"result":"on"}' if target.gated else b'{"result":"off"}'
    target.report.must(routes.SWITCH, "tells whether a login is needed", composed_fault(exchange, (200,), expected), exchange)


def _success_fault(exchange: Exchange) -> str:
    fault = composed_fault(exchange, (200,)) or members_fault(exchange.body, ("token", "firstlogin", "code", "wizard"), ("token", "firstlogin", "code"))
    if fault:
        return fault + (" (is the password right?)" if exchange.body == b'{"code":1}' else "")
    answer = parsed(exchange.body)
    if answer["code"] != 0 or not isinstance(answer["firstlogin"], int):
        return f"code and firstlogin are {answer['code']!r} and {answer['firstlogin']!r}"
    return "" if isinstance(answer["token"], str) and 0 < len(answer["token"].encode()) < 1024 else "the token has not 1 to 1023 bytes"


def refusal_fault(exchange: Exchange) -> str:
    """A refused login: code 1, or code 2 with the time."""
    fault = composed_fault(exchange, (200,))
    answer = parsed(exchange.body) or {}
    if fault or exchange.body == b'{"code":1}':
        return fault
    if answer.get("code") == 2 and isinstance(answer.get("lockTime"), int):
        return members_fault(exchange.body, ("code", "lockTime"))
    return f"the body is {exchange.body[:200]!r}, not a refusal"


def check_login(target: Target) -> None:
    report = target.report
    report.area = "session"
    exchange, token = target.try_login(_NOBODY, "wrong")
    report.must(routes.LOGIN, "an unknown user is refused", refusal_fault(exchange), exchange)
    exchange, token = target.try_login(target.options.user, target.options.password + "x")
    report.must(routes.LOGIN, "a wrong password is refused", refusal_fault(exchange), exchange)
    for rule, body in (("no body", b""), ("a body that is not JSON", b"{"), ("an array", b"[1,2]"), ("a body beyond 511 bytes", b'{"username":"' + b"u" * 600 + b'"}')):
        exchange = target.ask("POST", routes.LOGIN, None, body, "application/json")
        fault = "" if exchange.status == 404 else refusal_fault(exchange)
        report.must(routes.LOGIN, f"{rule} is answered and refused", fault, exchange)
    exchange = target.ask("POST", routes.LOGIN, None, b'{"username":5,"password":true}', "application/json")
    report.must(routes.LOGIN, "members that are no texts are answered and refused", "" if exchange.status == 404 else refusal_fault(exchange), exchange)
    exchange, second = target.try_login(target.options.user, target.options.password)
    report.must(routes.LOGIN, "a second login works beside the first", _success_fault(exchange), exchange)
    report.should(routes.LOGIN, "each login has a token of its own", "two logins have the same token" if second == target.token else "", exchange)
    report.should(routes.LOGIN, "tokens cannot be guessed", f"a token has {len(second)} characters only" if 0 < len(second) < 16 else "", exchange)
    _check_logout(target, second)
    _check_forms(target, second)


def _check_forms(target: Target, before: str) -> None:
    """A login and its end in every form that a client may give them."""
    body = json.dumps({"UserName": target.options.user, "PASSWORD": target.options.password}, separators=(",", ":")).encode()
    for rule, method, sent in (("the case of the members' names does not matter", "POST", body), ("a body of 511 bytes is read whole", "POST", body[:-1].ljust(510) + b"}"),
                               ("the method does not matter", "PUT", body)):
        exchange = target.ask(method, routes.LOGIN, None, sent, "application/json")
        target.report.must(routes.LOGIN, rule, _success_fault(exchange), exchange)
        token = str((parsed(exchange.body) or {}).get("token", "")) if exchange.status == 200 else ""
        target.report.secrets.add(token)
        target.report.should(routes.LOGIN, f"an ended login's token does not come back ({rule})", "it does" if token and token == before else "", exchange)
        if token:
            ended = target.ask("GET", routes.LOGOUT, token)
            target.report.must(routes.LOGOUT, f"GET ends the login, too ({rule})", composed_fault(ended, (200,), b'{"code":"0"}'), ended)
            before = token


def _check_logout(target: Target, token: str) -> None:
    report, probe = target.report, request("GET", "/getTxRxList", token)
    before = target.endpoint.exchange(probe)
    exchange = target.log_out(token)
    report.must(routes.LOGOUT, "ends the login", composed_fault(exchange, (200,), b'{"code":"0"}'), exchange)
    after = target.endpoint.exchange(probe)
    report.must(routes.LOGOUT, "the ended login's token is refused", composed_fault(after, (401,), b""), after)
    exchange = target.log_out(token)
    report.must(routes.LOGOUT, "a second logout is refused", composed_fault(exchange, (401,), b""), exchange)
    still = target.ask("GET", "/getTxRxList")
    report.must(routes.LOGOUT, "other logins go on", "" if still.status == before.status else f"the other login gets {still.status}", still)


def check_gate(target: Target) -> None:
    """Every route that needs a login refuses everything that is none."""
    report = target.report
    report.area = "gate"
    ended = target.new_login()
    target.log_out(ended)
    tokens = {"no token": None, "an empty token": "", "an unknown token": "sdkapi-check", "a token cut by one": target.token[:-1],
              "a token with one more": target.token + "x", "a token in another case": target.token.swapcase(), "an ended login's token": ended}
    paths = (*routes.READ, *routes.DOWNLOADS, *routes.UPLOAD, *routes.WRITE, routes.LOGOUT)
    for path in (*paths, routes.RESTORE) if target.options.write else paths:
        for rule, token in tokens.items():
            if token == target.token:
                continue
            exchange = target.endpoint.exchange(routes.probe(path, token), limit=100_000)
            report.must(path, f"{rule} is refused", composed_fault(exchange, (401,), b""), exchange)
    longer = [path + end for path in (*routes.LONGER_GET, *routes.LONGER_UPLOAD) for end in ("/below", "x")]
    for path in (*longer, *((routes.RESTORE + "/below",) if target.options.write else ())):
        exchange = target.endpoint.exchange(routes.probe(path, None), limit=100_000)
        report.must(path, "no token is refused below a route, too", composed_fault(exchange, (401,), b""), exchange)
    for path in (*routes.READ, *routes.DOWNLOADS):
        for method in ("POST", "PUT"):
            exchange = target.ask(method, path, None, b"", limit=100_000)
            report.must(path, f"no token is refused to {method}", composed_fault(exchange, (401,), b""), exchange)
    _check_header(target)


def _check_header(target: Target) -> None:
    """How the token is read out of its header."""
    for rule, value, wanted in (("the word before the token does not matter", f"Xxxxxx {target.token}", False),
                                ("seven characters are skipped, whatever they are", f"Token {target.token}", True),
                                ("a header of seven characters is no token", "Bearer ", True),
                                ("a token of 2000 characters is refused", "Bearer " + "t" * 2000, True)):
        exchange = target.endpoint.exchange(request("GET", "/dev_info", None, headers=(f"Authorization: {value}",)))
        fault = composed_fault(exchange, (401,), b"") if wanted else "it is refused" if exchange.status == 401 else ""
        target.report.must("Authorization", rule, fault, exchange)
    exchange = target.endpoint.exchange(request("GET", "/dev_info", None, headers=(f"authorization: bearer {target.token}",)))
    target.report.must("Authorization", "the case of the header's name does not matter", "it is refused" if exchange.status == 401 else "", exchange)


def end(target: Target) -> None:
    if target.gated and target.token:
        target.log_out(target.token)


