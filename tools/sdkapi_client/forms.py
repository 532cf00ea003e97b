"""Files on their way to a device, as multipart forms that are never held in memory."""
from __future__ import annotations

import os
import secrets
from collections.abc import AsyncIterator, Callable, Iterator
from dataclasses import dataclass, field
from pathlib import Path
from urllib.parse import quote

Progress = Callable[[int, int], None]

_PIECE = 64 * 1024


def _quoted(name: str) -> str:
    """The device decodes names as it decodes addresses: what is not encoded comes out as another name. Names of files are bytes."""
    return quote(name, safe="", errors="surrogateescape")


@dataclass
class FileForm:
    """A form with one file. `progress` is called with the file's bytes sent and all of them."""

    path: Path
    progress: Progress | None = None
    name: str | None = None
    boundary: str = field(default_factory=lambda: "sdkapi-" + secrets.token_hex(12))

    def __post_init__(self) -> None:
        self.size = os.stat(self.path).st_size
        name = _quoted(self.name or self.path.name)
        self._head = (f'--{self.boundary}\r\nContent-Disposition: form-data; name="file"; filename="{name}"\r\n'
                      "Content-Type: application/octet-stream\r\n\r\n").encode()
        self._tail = f"\r\n--{self.boundary}--\r\n".encode()

    def headers(self) -> dict[str, str]:
        return {"Content-Type": f"multipart/form-data; boundary={self.boundary}",
                "Content-Length": str(len(self._head) + self.size + len(self._tail))}

    def pieces(self) -> Iterator[bytes]:
        yield self._head
        sent = 0
        with open(self.path, "rb") as file:
            while sent < self.size and (piece := file.read(min(_PIECE, self.size - sent))):
                yield piece
                sent += len(piece)
                if self.progress is not None:
                    self.progress(sent, self.size)
        if sent != self.size:
            raise OSError(f"{self.path} became shorter while it was sent")
        yield self._tail

    async def async_pieces(self) -> AsyncIterator[bytes]:
        for piece in self.pieces():
            yield piece
