"""Pictures out of a preview stream."""
from __future__ import annotations

from urllib.parse import quote

from .errors import BadReply

LONGEST_PICTURE = 655360
_START, _END = b"--w00t\r\n", b"\r\n\r\n"


class PreviewParser:
    """Takes the stream's body as it comes, and gives its pictures."""

    def __init__(self) -> None:
        self._data = bytearray()

    def feed(self, data: bytes) -> list[bytes]:
        """The pictures that are complete now."""
        self._data += data
        pictures = []
        while (picture := self._take()) is not None:
            pictures.append(picture)
        return pictures

    def _take(self) -> bytes | None:
        end = self._data.find(_END)
        if end < 0:
            if len(self._data) > 1024:
                raise BadReply("a picture of the preview has no head")
            return None
        length = self._length(bytes(self._data[:end]))
        begin = end + len(_END)
        if len(self._data) < begin + length + len(_END):
            return None
        picture = bytes(self._data[begin:begin + length])
        del self._data[:begin + length + len(_END)]
        return picture

    @staticmethod
    def _length(head: bytes) -> int:
        if not head.startswith(_START):
            raise BadReply("a picture of the preview does not begin with its boundary")
        for line in head.split(b"\r\n"):
            name, _, value = line.partition(b":")
            if name.lower() == b"content-length" and value.strip().isdigit() and int(value) <= LONGEST_PICTURE:
                return int(value)
        raise BadReply("a picture of the preview has no length")


def path_of(unit: str | None) -> str:
    return f"/preview/{quote(unit, safe='', errors='surrogateescape')}" if unit else "/stream"
