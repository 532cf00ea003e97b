"""How results and errors are shown: for people, or as JSON with --json."""
from __future__ import annotations

import io
import json
import re
import sys
from collections.abc import Iterator, Sequence
from contextlib import contextmanager
from typing import Any, TextIO

from rich.console import Console
from rich.progress import BarColumn, DownloadColumn, Progress, TextColumn, TimeRemainingColumn, TransferSpeedColumn
from rich.table import Table
from rich.text import Text

from sdkapi_client import SdkapiError
from sdkapi_client.forms import Progress as OnProgress

# What a terminal would take for more than text, and halves of characters; \N{ESCAPE} is the worst of them.
_CONTROLS = re.compile(r"[\x00-\x08\x0b-\x1f\x7f-\x9f\u202a-\u202e\u2066-\u2069\ud800-\udfff]")


def visible(text: str, style: str = "") -> Text:
    """Text as it is: nothing in it is markup, an emoji's name, or an order to the terminal."""
    return Text(_CONTROLS.sub(lambda found: ascii(found.group())[1:-1], text), style)


def print_json(value: Any, file: TextIO) -> None:
    """One line. An output that knows few characters gets the others escaped."""
    text = json.dumps(value, ensure_ascii=False)
    try:
        text.encode(file.encoding or "ascii")
    except UnicodeEncodeError:
        text = json.dumps(value)
    print(text, file=file, flush=True)


class Output:
    """Results go to standard output, everything else to standard error."""

    def __init__(self, as_json: bool) -> None:
        self.as_json = as_json
        for stream in (sys.stdout, sys.stderr):
            if isinstance(stream, io.TextIOWrapper):
                stream.reconfigure(errors="backslashreplace")
        self._out, self._err = Console(highlight=False, soft_wrap=True), Console(stderr=True, highlight=False, soft_wrap=True)
        if not self._out.is_terminal:
            self._out.width = 200

    def result(self, value: Any, text: str) -> None:
        """A result: its value with --json, else its text."""
        if self.as_json:
            print_json(value, sys.stdout)
        else:
            self._out.print(visible(text))

    def rows(self, value: Any, heads: Sequence[str], rows: Sequence[Sequence[str]]) -> None:
        if self.as_json:
            print_json(value, sys.stdout)
            return
        table = Table(*heads, box=None, pad_edge=False, header_style="bold")
        for row in rows:
            table.add_row(*map(visible, row))
        self._out.print(table)

    def note(self, text: str) -> None:
        """What a person should know, beside the result."""
        self._err.print(visible(text))

    def error(self, error: SdkapiError) -> None:
        if self.as_json:
            print_json({"error": error.message, "advice": error.advice, "status": error.status}, sys.stderr)
        else:
            self._err.print(visible("sdkapi:", "red") + visible(f" {error.message}" + (f"; {error.advice}" if error.advice else "")))

    @contextmanager
    def progress(self, what: str) -> Iterator[OnProgress]:
        """A bar with rate and time left, in a terminal only."""
        if self.as_json or not self._err.is_terminal:
            yield lambda done, total: None
            return
        columns = (TextColumn("{task.description}", markup=False), BarColumn(), DownloadColumn(), TransferSpeedColumn(), TimeRemainingColumn())
        with Progress(*columns, console=self._err) as bars:
            task = bars.add_task(visible(what).plain, total=None)
            yield lambda done, total: bars.update(task, completed=done, total=total or None)
