"""The event channel of a device. Closing it ends the login whose token it was opened with."""
from __future__ import annotations

import asyncio
import json
import ssl
import threading
from collections.abc import AsyncIterator, Coroutine, Iterator
from types import TracebackType
from typing import Any, TypeVar
from urllib.parse import urlsplit, urlunsplit

from websockets.exceptions import ConnectionClosed, InvalidHandshake
from websockets.legacy.client import WebSocketClientProtocol, connect
from websockets.typing import Subprotocol

from .errors import CertificateError, NotAuthorised, SdkapiError, Unreachable

# Where hosts put the channel when nothing else is said: the path of the examples, and the library's own.
PATHS = ("/ws", "/websocket")
_LARGEST = 16 << 20

T = TypeVar("T")


class AsyncEvents:
    """An open channel: iterate over it, send to it, close it."""

    def __init__(self, socket: WebSocketClientProtocol) -> None:
        self._socket = socket

    async def __aenter__(self) -> AsyncEvents:
        return self

    async def __aexit__(self, *_: object) -> None:
        await self.close()

    async def __aiter__(self) -> AsyncIterator[Any]:
        while (message := await self.receive()) is not None:
            yield message

    async def receive(self) -> Any:
        """The next message: JSON as it is, other text as a text; None at the end."""
        try:
            return decode(await self._socket.recv())
        except ConnectionClosed:
            return None

    @property
    def why(self) -> str:
        """What the device said when it ended the channel; empty when it said nothing."""
        return self._socket.close_reason or ""

    async def send(self, message: Any) -> None:
        """Sends a text as it is, everything else as JSON."""
        try:
            await self._socket.send(message if isinstance(message, str) else json.dumps(message))
        except ConnectionClosed:
            raise Unreachable("the device has ended the event channel" + (f": {self.why}" if self.why else ""), "open it again, with a new login") from None

    async def close(self) -> None:
        await self._socket.close()


class Events:
    """The same without an event loop of the caller's. One runs in a thread, so that the device's pings are answered whatever the caller does."""

    def __init__(self, background: _Background, events: AsyncEvents) -> None:
        self._background, self._events = background, events

    def __enter__(self) -> Events:
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None) -> None:
        self.close()

    def __iter__(self) -> Iterator[Any]:
        while (message := self.receive()) is not None:
            yield message

    def receive(self, timeout: float | None = None) -> Any:
        """The next message, None at the end; raises TimeoutError when none came in time."""
        try:
            return self._background.run(asyncio.wait_for(self._events.receive(), timeout))
        except asyncio.TimeoutError:
            raise TimeoutError("no event in time") from None

    @property
    def why(self) -> str:
        """What the device said when it ended the channel; empty when it said nothing."""
        return self._events.why

    def send(self, message: Any) -> None:
        self._background.run(self._events.send(message))

    def close(self) -> None:
        if not self._background.ended:
            self._background.run(self._events.close())
            self._background.end()


class _Background:
    """An event loop in a thread of its own."""

    def __init__(self) -> None:
        self._loop = asyncio.new_event_loop()
        self._thread = threading.Thread(target=self._loop.run_forever, name="sdkapi events", daemon=True)
        self._thread.start()

    @property
    def ended(self) -> bool:
        return self._loop.is_closed()

    def run(self, coroutine: Coroutine[Any, Any, T]) -> T:
        future = asyncio.run_coroutine_threadsafe(coroutine, self._loop)
        try:
            return future.result()
        except KeyboardInterrupt:
            future.cancel()
            raise

    def end(self) -> None:
        self._loop.call_soon_threadsafe(self._loop.stop)
        self._thread.join()
        self._loop.close()


def decode(message: str | bytes) -> Any:
    try:
        return json.loads(message)
    except ValueError:
        return message


def channel_url(url: str, path: str) -> str:
    parts = urlsplit(url)
    return urlunsplit(("wss" if parts.scheme == "https" else "ws", parts.netloc, path, "", ""))


async def open_events(url: str, token: str, context: ssl.SSLContext | None, path: str | None, timeout: float) -> AsyncEvents:
    """Opens the channel at this path, or at the first usual one that lets the token in."""
    error: SdkapiError | None = None
    for candidate in (path,) if path else PATHS:
        try:
            socket = await connect(channel_url(url, candidate), subprotocols=[Subprotocol(token or "anonymous")],
                                   ssl=context, open_timeout=timeout, close_timeout=min(timeout, 10.0), max_size=_LARGEST, max_queue=1024)
            return AsyncEvents(socket)
        except (InvalidHandshake, ConnectionClosed, EOFError):
            error = NotAuthorised("refused: the device opens no event channel for this login",
                                  "log in again; if that does not help, the device offers none, or at another path (--path)")
        except ssl.SSLCertVerificationError as reason:
            raise CertificateError.refused(url, reason.verify_message) from None
        except (OSError, asyncio.TimeoutError) as reason:
            raise Unreachable(f"no event channel at {url}: {str(reason) or 'no answer in time'}", "is the device on?") from None
    assert error is not None
    raise error


def open_blocking(url: str, token: str, context: ssl.SSLContext | None, path: str | None, timeout: float) -> Events:
    background = _Background()
    try:
        return Events(background, background.run(open_events(url, token, context, path, timeout)))
    except BaseException:
        background.end()
        raise
