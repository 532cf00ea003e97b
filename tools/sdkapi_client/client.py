"""The synchronous client."""
from __future__ import annotations

from collections.abc import Iterator, Mapping
from contextlib import contextmanager
from dataclasses import dataclass
from pathlib import Path
from typing import Any, TypeVar

import httpx

from . import operations
from .downloads import safe_name
from .events import Events, open_blocking
from .forms import FileForm, Progress
from .kinds import download_path, upload_kind
from .models import DeviceInfo, Login, Privilege, Unit
from .operations import Operation, Reply, failure
from .preview import PreviewParser, path_of
from .session import Session

T = TypeVar("T")


@dataclass(frozen=True)
class Download:
    """A file that comes: its name, and its bytes piece by piece."""

    name: str
    pieces: Iterator[bytes]


class Client(Session):
    """A device. Every method raises an `SdkapiError` that says what to do; `close` or a `with` block ends the connections, not the login."""

    def __enter__(self) -> Client:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def close(self) -> None:
        """Nothing stays open between requests: the device ends each connection."""

    @contextmanager
    def _stream(self, method: str, path: str, **arguments: Any) -> Iterator[httpx.Response]:
        headers = self.headers() | {name.encode(): value.encode() for name, value in arguments.pop("headers", {}).items()}
        with self.told(), httpx.Client(**self.settings()) as http, http.stream(method, self.at(path), headers=headers, **arguments) as reply:  # type: ignore[arg-type]
            yield reply

    def run(self, operation: Operation[T]) -> T:
        """Sends a request, and gives what its reply means."""
        body = {"content": operation.content(), "headers": {"Content-Type": "application/json"}} if operation.body is not None else {}
        with self._stream(operation.method, operation.path, params=operation.query, **body) as reply:
            return operation.result(Reply(reply.status_code, reply.read(), reply.headers))

    def login(self, username: str, password: str) -> Login:
        """Logs in; the token is kept for the requests that follow."""
        login = self.run(operations.login(username, password))
        self.token = login.token
        return login

    def logout(self) -> None:
        self.run(operations.logout())
        self.token = ""

    def login_needed(self) -> bool:
        return self.run(operations.login_needed())

    def device_info(self) -> DeviceInfo:
        return self.run(operations.device_info())

    def units(self) -> list[Unit]:
        return self.run(operations.units())

    def privileges(self) -> list[Privilege]:
        return self.run(operations.privileges())

    def bind_privilege(self, unit: str, picture: str) -> None:
        self.run(operations.bind_privilege(unit, picture))

    def delete_privilege(self, picture: str) -> None:
        self.run(operations.delete_privilege(picture))

    def create_user(self, username: str, password: str, role: int) -> None:
        self.run(operations.create_user(username, password, role))

    def delete_user(self, username: str) -> None:
        self.run(operations.delete_user(username))

    def change_password(self, username: str, old: str, new: str) -> None:
        self.run(operations.change_password(username, old, new))

    def restore(self) -> None:
        """Back to the factory state."""
        self.run(operations.restore())

    def json(self, path: str, body: Mapping[str, Any] | None = None) -> Any:
        """A route of the device's own: GET, or POST with a body."""
        return self.run(operations.json_route(path, body))

    def upload(self, kind: str, file: Path, *, progress: Progress | None = None, name: str | None = None, port: int | None = None) -> None:
        """Sends a file of a kind in `UPLOADS`, or to a route of the device's own; `port` goes with kind 802.1x."""
        target, form = upload_kind(kind), FileForm(file, progress, name)
        headers = form.headers() | ({"Port": str(port)} if port is not None else {})
        with self._stream("POST", target.path, content=form.pieces(), headers=headers) as reply:
            if reply.status_code != 200:
                raise failure(target.path, reply.status_code, reply.read(), target.expects)

    @contextmanager
    def download(self, kind: str, **query: str) -> Iterator[Download]:
        """Opens a file of a kind in `DOWNLOADS`, or of a route of the device's own."""
        path = download_path(kind)
        with self._stream("GET", path, params=query) as reply:
            if reply.status_code != 200:
                raise failure(path, reply.status_code, reply.read())
            yield Download(safe_name(reply.headers.get("content-disposition", ""), "download"), reply.iter_bytes())

    def preview(self, unit: str | None = None) -> Iterator[bytes]:
        """The pictures (JPEG) of a unit, or of the device itself, as they come; no login is needed."""
        parser = PreviewParser()
        with self._stream("GET", path_of(unit)) as reply:
            if reply.status_code != 200:
                raise failure(path_of(unit), reply.status_code)
            for data in reply.iter_raw():
                yield from parser.feed(data)

    def events(self, path: str | None = None) -> Events:
        """Opens the event channel. Closing it ends this login, when the device asks for logins."""
        return open_blocking(self.url, self.token, self.context, path, self.timeout)
