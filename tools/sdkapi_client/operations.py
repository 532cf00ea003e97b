"""Requests and the meaning of their replies, without any input or output: both clients run them."""
from __future__ import annotations

import json
from collections.abc import Callable, Mapping
from dataclasses import dataclass, field
from typing import Any, Generic, TypeVar

from .errors import BadReply, InvalidFile, LoginLocked, LoginRefused, NotAuthorised, NotOffered, Refused, SdkapiError, TooLong
from .models import DeviceInfo, Login, Privilege, Unit

T = TypeVar("T")

# What a device reads of a login or a change of users; it would cut longer texts, and take a longer body for none.
_LONGEST = {"username": 31, "newusername": 31, "password": 255, "newpassword": 255, "oldpassword": 255}
_LONGEST_BODY = 511

_LOG = "its log tells why: `sdkapi download log`"
# Here a 404 is a refusal, too.
_NOT_HERE = {"/preview": "or not now: is the unit there and on? `sdkapi units`", "/api/v1/settings": f"or not now, or not so; {_LOG}"}

USER_CODES = {1: "the old password is wrong", 2: "the password is too weak", 3: "there is such a user already", 4: "there is no such user",
              5: "the last administrator has to stay", 6: "the user name is not allowed", 7: "there is no such role"}


@dataclass(frozen=True)
class Reply:
    """A whole reply."""

    status: int
    body: bytes
    headers: Mapping[str, str] = field(default_factory=dict)

    def json(self) -> Any:
        try:
            return json.loads(self.body)
        except ValueError:
            raise BadReply(f"the device answered {self.status} with a body that is not JSON", status=self.status) from None

    def members(self) -> dict[str, Any]:
        value = self.json()
        if not isinstance(value, dict):
            raise BadReply("the device answered JSON that is no object", status=self.status)
        return value


@dataclass(frozen=True)
class Operation(Generic[T]):
    """One request, and how its successful reply is read."""

    method: str
    path: str
    read: Callable[[Reply], T]
    query: Mapping[str, str] = field(default_factory=dict)
    body: Mapping[str, Any] | None = None

    def content(self) -> bytes | None:
        return None if self.body is None else json.dumps(self.body, ensure_ascii=False, separators=(",", ":")).encode(errors="surrogateescape")

    def result(self, reply: Reply) -> T:
        if reply.status != 200:
            raise failure(self.path, reply.status, reply.body)
        try:
            return self.read(reply)
        except (ArithmeticError, AttributeError, LookupError, RecursionError, TypeError, ValueError) as error:
            raise BadReply(f"the answer to {self.path} is not what a device says there: {error}", "is this a device with the device API?", reply.status) from None


def failure(path: str, status: int, body: bytes = b"", expects: str = "") -> SdkapiError:
    """The error that a status other than 200 stands for."""
    if status == 401:
        return NotAuthorised("refused: the device asks for a login", "log in; if you are, this user lacks the right or the login has ended", 401)
    if status in (404, 405):
        return NotOffered(f"the device does not offer {path}", _NOT_HERE.get(path.partition("?")[0].rsplit("/", 1)[0], "`sdkapi routes` lists what it answers"), status)
    if status == 406:
        return InvalidFile("refused: the device says Invalid File", f"is this {expects or 'a file of this kind'}?", 406)
    if status == 503:
        return Refused("refused: the device cannot do this now", "check the names in the request, or try again later", 503)
    if status == 500:
        return Refused("the device failed to do this", (f"is this {expects}, and has the device room for it? " if expects else "") + _LOG, 500)
    return BadReply(f"the device answered {status} to {path}", status=status)


def nothing(_: Reply) -> None:
    """For replies without a body."""


def login(username: str, password: str) -> Operation[Login]:
    def read(reply: Reply) -> Login:
        answer = reply.members()
        if answer.get("code") == 1:
            raise LoginRefused("refused: wrong user name or password", "check both; several wrong attempts lock the user", 200)
        if answer.get("code") == 2:
            raise LoginLocked(int(answer.get("lockTime", 0)))
        if answer.get("code") != 0 or not isinstance(answer.get("token"), str):
            raise BadReply("the device answered the login with neither a token nor a refusal", status=200)
        if not answer["token"].isprintable():
            raise BadReply("the device gave a token that no request can carry", status=200)
        return Login(answer["token"], answer.get("firstlogin") == 1, str(answer.get("wizard", "")))

    return _fitting(Operation("POST", "/api/v1/auth/login", read, body={"username": username, "password": password}))


def _fitting(operation: Operation[T]) -> Operation[T]:
    """Refuses here what the device would silently cut: another user than the named one could come of it."""
    for name, value in (operation.body or {}).items():
        if isinstance(value, str) and len(value.encode(errors="surrogateescape")) > _LONGEST[name]:
            raise TooLong(f"the {name} is too long", f"a device takes {_LONGEST[name]} bytes of UTF-8")
    if len(operation.content() or b"") > _LONGEST_BODY:
        raise TooLong("names and passwords are too long together", f"a device takes {_LONGEST_BODY} bytes of JSON with all of them")
    return operation


def logout() -> Operation[None]:
    return Operation("POST", "/logout", nothing)


def login_needed() -> Operation[bool]:
    return Operation("GET", "/iplogin", lambda reply: reply.members().get("result") != "off")


def device_info() -> Operation[DeviceInfo]:
    def read(reply: Reply) -> DeviceInfo:
        answer = reply.members()
        timeout = answer.get("timeout")
        return DeviceInfo(answer.get("model"), answer.get("security"), None if timeout is None else int(timeout), answer.get("devicetime"))

    return Operation("GET", "/dev_info", read)


def units() -> Operation[list[Unit]]:
    def read(reply: Reply) -> list[Unit]:
        text = reply.members().get("list", "")
        try:
            entries = json.loads(text) if text else []
        except ValueError:
            raise BadReply("the list of units is not JSON", "read it as text: Operation('GET', '/getTxRxList', ...)", 200) from None
        return [Unit(str(entry.get("name", "")), str(entry.get("type", "")), entry.get("online"), entry) for entry in entries]

    return Operation("GET", "/getTxRxList", read)


def privileges() -> Operation[list[Privilege]]:
    def read(reply: Reply) -> list[Privilege]:
        return [Privilege(int(entry["serialnum"]), entry["picname"], tuple(entry["hostname"])) for entry in reply.members().get("6000list", [])]

    return Operation("GET", "/getprivjson", read)


def bind_privilege(unit: str, picture: str) -> Operation[None]:
    return Operation("GET", "/specifypriv", nothing, {"hostname": unit, "file": picture})


def delete_privilege(picture: str) -> Operation[None]:
    return Operation("GET", "/delete_priv", nothing, {"file": picture})


def restore() -> Operation[None]:
    return Operation("POST", "/custom_restore", nothing)


def _user_change(path: str, **members: Any) -> Operation[None]:
    def read(reply: Reply) -> None:
        code = reply.members().get("code")
        if code != 0:
            raise Refused(f"refused: {USER_CODES.get(code, f'code {code}')}" if isinstance(code, int) else "refused", status=200)

    return _fitting(Operation("POST", path, read, body=members))


def create_user(username: str, password: str, role: int) -> Operation[None]:
    return _user_change("/createuser", username=username, password=password, role=role)


def delete_user(username: str) -> Operation[None]:
    return _user_change("/deleteuser", username=username)


def change_password(username: str, old: str, new: str) -> Operation[None]:
    return _user_change("/change/password", username=username, oldpassword=old, newpassword=new)


def change_user(username: str, new_name: str, old: str, new: str) -> Operation[None]:
    return _user_change("/change/usrorpasswd", username=username, newusername=new_name, oldpassword=old, newpassword=new)


def json_route(path: str, body: Mapping[str, Any] | None = None) -> Operation[Any]:
    """A route of the device's own that answers JSON: GET, or POST with a body."""
    return Operation("GET" if body is None else "POST", path, Reply.json, body=body)
