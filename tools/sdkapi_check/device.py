"""The device's own answers: information, units, privileges, users."""
from __future__ import annotations

import json
import secrets
from typing import Any

from . import routes
from .rules import composed_fault, members_fault, parsed
from .target import Target
from .wire import Exchange

_INFO = ("model", "security", "timeout", "devicetime")
_STRONG, _OTHER = "Check-" + secrets.token_hex(4) + "1!aA", "Check-" + secrets.token_hex(4) + "2!bB"


def _offered(target: Target, path: str, exchange: Exchange) -> bool:
    """Notes a route that the host left empty; True when it answers with success."""
    if exchange.status in (404, 405):
        target.report.not_offered(path, str(exchange.status))
        return False
    target.offered.add(path)
    fault = composed_fault(exchange, (200, 401, 500))
    if not target.report.must(path, "the reply is composed as fixed", fault, exchange):
        return False
    if exchange.status != 200:
        target.report.must(path, "a refusal has no body", composed_fault(exchange, (401, 500), b""), exchange)
        target.report.not_tested(path, f"the device answers {exchange.status}")
        return False
    return True


def check_device(target: Target) -> None:
    target.report.area = "device"
    _check_info(target)
    _check_units(target)
    _check_privileges(target)


def _info_fault(body: bytes) -> str:
    fault = members_fault(body, _INFO)
    answer = parsed(body) or {}
    if not fault and any(not isinstance(value, str) or value == "" for value in answer.values()):
        fault = "a member is empty or no text"
    if not fault and "timeout" in answer and (not answer["timeout"].lstrip("-").isdigit() or answer["timeout"] == "-1"):
        fault = f"timeout is {answer['timeout']!r}"
    return fault


def _check_info(target: Target) -> None:
    report, found = target.report, {}
    for path in ("/dev_info", "/getdevicetime"):
        exchange = target.ask("GET", path)
        if not _offered(target, path, exchange):
            continue
        report.must(path, "the members, their order and kinds", _info_fault(exchange.body), exchange)
        asked = target.ask("GET", path + "?any=1")
        report.must(path, "a query makes no difference", composed_fault(asked, (200,)) or _info_fault(asked.body), asked)
        found[path] = {name: value for name, value in (parsed(exchange.body) or {}).items() if name != "devicetime"}
        for method in ("POST", "PUT", "DELETE"):
            other = target.ask(method, path, "", b"" if method != "DELETE" else None)
            report.must(path, f"{method} is answered like GET", composed_fault(other, (200,)) or _info_fault(other.body), other)
        for beside in (path + "/", path + "x"):
            other = target.ask("GET", beside)
            report.must(path, f"{beside} is another path", "it is answered as device information" if other.status == 200 and _INFO[0].encode() in other.body else "", other)
    if len(found) == 2:
        report.must("/getdevicetime", "the same answer as /dev_info", "" if found["/dev_info"] == found["/getdevicetime"] else f"{found}")


def _check_units(target: Target) -> None:
    path, report = "/getTxRxList", target.report
    exchange = target.ask("GET", path)
    if not _offered(target, path, exchange):
        return
    text = (parsed(exchange.body) or {}).get("list")
    report.must(path, "one member, the list as a text", members_fault(exchange.body, ("list",), ("list",)) or ("" if isinstance(text, str) else "the list is no text"), exchange)
    entries = parsed(text.encode()) if isinstance(text, str) else None
    report.should(path, "the text is a JSON array", "" if isinstance(entries, list) or text == "" else "it is not", exchange)
    for longer in ("/below", "x"):
        below = target.ask("GET", path + longer)
        report.must(path, f"paths below are served, too ({longer})", "" if below.status == exchange.status else f"the status is {below.status}", below)


def _check_privileges(target: Target) -> None:
    path, report = "/getprivjson", target.report
    exchange = target.ask("GET", path)
    if _offered(target, path, exchange):
        report.must(path, "the members, their order and kinds", _privileges_fault(exchange.body), exchange)
    if not target.options.write:
        report.not_tested("/specifypriv, /delete_priv", "only with --write")
        return
    for path in ("/specifypriv", "/delete_priv"):
        exchange = target.ask("GET", f"{path}?file=sdkapi-check-{secrets.token_hex(6)}.png&hostname=sdkapi-check")
        if exchange.status in (404, 405):
            report.not_offered(path, str(exchange.status))
            continue
        target.offered.add(path)
        report.must(path, "a picture that is not there is answered", composed_fault(exchange, (200, 401, 503), b""), exchange)


def _privileges_fault(body: bytes) -> str:
    fault = members_fault(body, ("picnum", "6000list"), ("picnum", "6000list"))
    answer: dict[str, Any] = parsed(body) or {}
    if fault:
        return fault
    if not isinstance(answer["picnum"], int) or not isinstance(answer["6000list"], list):
        return "picnum is no number, or 6000list no array"
    for entry in answer["6000list"]:
        if not isinstance(entry, dict) or list(entry) != ["serialnum", "picname", "hostname"] or not isinstance(entry["hostname"], list):
            return f"an entry is {entry!r}"
    return "" if answer["picnum"] == len(answer["6000list"]) else f"picnum is {answer['picnum']}, the list has {len(answer['6000list'])} entries"


def check_users(target: Target) -> None:
    """Creates a user, changes its password, and deletes it."""
    report = target.report
    report.area = "users"
    if not target.options.write:
        report.not_tested("users", "only with --write")
        return
    name = "check-" + secrets.token_hex(4)
    report.secrets |= {_STRONG, _OTHER}
    exchange = _post(target, "/createuser", username=name, password=_STRONG, role=3)
    if exchange.status in (404, 405):
        report.not_offered("/createuser", str(exchange.status))
        return
    target.offered.add("/createuser")
    created = report.must("/createuser", "creates a user", _code_fault(exchange, b'{"code":%d}'), exchange) and exchange.body == b'{"code":0}'
    if not created:
        report.not_tested("users", f"no user could be created: {exchange.status} {exchange.body[:40].decode(errors='replace')}")
        return
    again = _post(target, "/createuser", username=name, password=_STRONG, role=3)
    report.should("/createuser", "an existing user is not created again", "it is" if again.body == b'{"code":0}' else "", again)
    broken = target.ask("POST", "/createuser", "", b"{", "application/json")
    report.must("/createuser", "a body that is not JSON is answered", _code_fault(broken, b'{"code":%d}'), broken)
    if broken.body == b'{"code":0}':
        _post(target, "/deleteuser", username="")
    _check_change(target, name)
    nobody = _post(target, "/deleteuser", username=name + "x")
    report.must("/deleteuser", "a user who is not there is answered", _code_fault(nobody, b'{"code":%d}'), nobody)
    exchange = _post(target, "/deleteuser", username=name)
    report.must("/deleteuser", "deletes a user", _code_fault(exchange, b'{"code":%d}', (0,)), exchange)
    exchange, token = target.try_login(name, _OTHER)
    report.must("/deleteuser", "a deleted user cannot log in", "it can" if token else "", exchange)


def _check_change(target: Target, name: str) -> None:
    report = target.report
    exchange, own = target.try_login(name, _STRONG)
    report.must("/createuser", "the new user can log in", "" if own or not target.gated else "it cannot", exchange)
    body = json.dumps({"username": name, "oldpassword": _STRONG, "newpassword": _OTHER}).encode()
    exchange = target.ask("POST", "/change/password", own or target.token, body, "application/json")
    if exchange.status in (404, 405):
        report.not_offered("/change/password", str(exchange.status))
    else:
        target.offered.add("/change/password")
        report.must("/change/password", "the answer is written with line breaks", _code_fault(exchange, b'{\n\t"code":\t%d\n}', (0,)), exchange)
        exchange, token = target.try_login(name, _OTHER)
        report.must("/change/password", "the new password works", "" if token or not target.gated else "it does not", exchange)
        target.log_out(token or "none") if target.gated else None
        if target.gated:
            exchange, token = target.try_login(name, _STRONG)
            report.must("/change/password", "the old password works no more", "it does" if token else "", exchange)
        _check_wrong_old(target, name)
    exchange = _post(target, "/change/usrorpasswd", username=name, newusername="", oldpassword="wrong", newpassword="")
    if exchange.received:
        report.must("/change/usrorpasswd", "the answer is written with line breaks", _code_fault(exchange, b'{\n\t"code":\t%d\n}') if exchange.status not in (401, 404) else "", exchange)
    if own and target.gated:
        target.log_out(own)


def _check_wrong_old(target: Target, name: str) -> None:
    """A change that has not the old password is none; asked with the user's own login, as others may have the right."""
    own = target.try_login(name, _OTHER)[1] if target.gated else ""
    if target.gated and not own:
        return
    body = json.dumps({"username": name, "oldpassword": "wrong", "newpassword": _STRONG}).encode()
    exchange = target.ask("POST", "/change/password", own or target.token, body, "application/json")
    target.report.should("/change/password", "a wrong old password is refused", "it is taken" if (parsed(exchange.body) or {}).get("code") == 0 else "", exchange)
    if own:
        target.log_out(own)


def _post(target: Target, path: str, **members: object) -> Exchange:
    return target.ask("POST", path, "", json.dumps(members).encode(), "application/json")


def _code_fault(exchange: Exchange, shape: bytes, codes: tuple[int, ...] = ()) -> str:
    """Whether the body is this shape with one of these codes (any without)."""
    if exchange.status in (401, 500):
        return composed_fault(exchange, (401, 500), b"")
    answer = parsed(exchange.body)
    code = answer.get("code") if isinstance(answer, dict) else None
    if not isinstance(code, int):
        return composed_fault(exchange, (200,)) or f"there is no code in {exchange.body[:100]!r}"
    if codes and code not in codes:
        return f"the code is {code}"
    return composed_fault(exchange, (200,), shape % code)
