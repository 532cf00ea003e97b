"""The asynchronous client."""
from __future__ import annotations

from collections.abc import AsyncIterator, Mapping
from contextlib import asynccontextmanager
from dataclasses import dataclass
from pathlib import Path
from typing import Any, TypeVar

import httpx

from . import operations
from .downloads import safe_name
from .events import AsyncEvents, open_events
from .forms import FileForm, Progress
from .kinds import download_path, upload_kind
from .models import DeviceInfo, Login, Privilege, Unit
from .operations import Operation, Reply, failure
from .preview import PreviewParser, path_of
from .session import Session

T = TypeVar("T")


@dataclass(frozen=True)
class AsyncDownload:
    """A file that comes: its name, and its bytes piece by piece."""

    name: str
    pieces: AsyncIterator[bytes]


class AsyncClient(Session):
    """A device, as in `Client`, with coroutines."""

    async def __aenter__(self) -> AsyncClient:
        return self

    async def __aexit__(self, *_: object) -> None:
        """Nothing stays open between requests: the device ends each connection."""

    @asynccontextmanager
    async def _stream(self, method: str, path: str, **arguments: Any) -> AsyncIterator[httpx.Response]:
        headers = self.headers() | {name.encode(): value.encode() for name, value in arguments.pop("headers", {}).items()}
        with self.told():
            async with httpx.AsyncClient(**self.settings()) as http, http.stream(method, self.at(path), headers=headers, **arguments) as reply:  # type: ignore[arg-type]
                yield reply

    async def run(self, operation: Operation[T]) -> T:
        body = {"content": operation.content(), "headers": {"Content-Type": "application/json"}} if operation.body is not None else {}
        async with self._stream(operation.method, operation.path, params=operation.query, **body) as reply:
            return operation.result(Reply(reply.status_code, await reply.aread(), reply.headers))

    async def login(self, username: str, password: str) -> Login:
        login = await self.run(operations.login(username, password))
        self.token = login.token
        return login

    async def logout(self) -> None:
        await self.run(operations.logout())
        self.token = ""

    async def login_needed(self) -> bool:
        return await self.run(operations.login_needed())

    async def device_info(self) -> DeviceInfo:
        return await self.run(operations.device_info())

    async def units(self) -> list[Unit]:
        return await self.run(operations.units())

    async def privileges(self) -> list[Privilege]:
        return await self.run(operations.privileges())

    async def bind_privilege(self, unit: str, picture: str) -> None:
        await self.run(operations.bind_privilege(unit, picture))

    async def delete_privilege(self, picture: str) -> None:
        await self.run(operations.delete_privilege(picture))

    async def create_user(self, username: str, password: str, role: int) -> None:
        await self.run(operations.create_user(username, password, role))

    async def delete_user(self, username: str) -> None:
        await self.run(operations.delete_user(username))

    async def change_password(self, username: str, old: str, new: str) -> None:
        await self.run(operations.change_password(username, old, new))

    async def restore(self) -> None:
        await self.run(operations.restore())

    async def json(self, path: str, body: Mapping[str, Any] | None = None) -> Any:
        return await self.run(operations.json_route(path, body))

    async def upload(self, kind: str, file: Path, *, progress: Progress | None = None, name: str | None = None, port: int | None = None) -> None:
        target, form = upload_kind(kind), FileForm(file, progress, name)
        headers = form.headers() | ({"Port": str(port)} if port is not None else {})
        async with self._stream("POST", target.path, content=form.async_pieces(), headers=headers) as reply:
            if reply.status_code != 200:
                raise failure(target.path, reply.status_code, await reply.aread(), target.expects)

    @asynccontextmanager
    async def download(self, kind: str, **query: str) -> AsyncIterator[AsyncDownload]:
        path = download_path(kind)
        async with self._stream("GET", path, params=query) as reply:
            if reply.status_code != 200:
                raise failure(path, reply.status_code, await reply.aread())
            yield AsyncDownload(safe_name(reply.headers.get("content-disposition", ""), "download"), reply.aiter_bytes())

    async def preview(self, unit: str | None = None) -> AsyncIterator[bytes]:
        parser = PreviewParser()
        async with self._stream("GET", path_of(unit)) as reply:
            if reply.status_code != 200:
                raise failure(path_of(unit), reply.status_code)
            async for data in reply.aiter_raw():
                for picture in parser.feed(data):
                    yield picture

    async def events(self, path: str | None = None) -> AsyncEvents:
        return await open_events(self.url, self.token, self.context, path, self.timeout)
