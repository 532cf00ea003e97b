"""How results and errors are shown: for people, or as JSON with --json."""
from __future__ import annotations

import json
import sys
from collections.abc import Iterator, Sequence
from contextlib import contextmanager
from typing import Any

from rich.console import Console
from rich.markup import escape
from rich.progress import BarColumn, DownloadColumn, Progress, TextColumn, TimeRemainingColumn, TransferSpeedColumn
from rich.table import Table

from sdkapi_client import SdkapiError
from sdkapi_client.forms import Progress as OnProgress


class Output:
    """Results go to standard output, everything else to standard error."""

    def __init__(self, as_json: bool) -> None:
        self.as_json = as_json
        self._out, self._err = Console(highlight=False, soft_wrap=True), Console(stderr=True, highlight=False, soft_wrap=True)
        if not self._out.is_terminal:
            self._out.width = 200

    def result(self, value: Any, text: str) -> None:
        """A result: its value with --json, else its text."""
        if self.as_json:
            print(json.dumps(value, ensure_ascii=False), flush=True)
        else:
            self._out.print(escape(text))

    def rows(self, value: Any, heads: Sequence[str], rows: Sequence[Sequence[str]]) -> None:
        if self.as_json:
            print(json.dumps(value, ensure_ascii=False), flush=True)
            return
        table = Table(*heads, box=None, pad_edge=False, header_style="bold")
        for row in rows:
            table.add_row(*map(escape, row))
        self._out.print(table)

    def note(self, text: str) -> None:
        """What a person should know, beside the result."""
        self._err.print(escape(text))

    def error(self, error: SdkapiError) -> None:
        if self.as_json:
            print(json.dumps({"error": error.message, "advice": error.advice, "status": error.status}, ensure_ascii=False), file=sys.stderr)
        else:
            self._err.print(f"[red]sdkapi:[/red] {escape(error.message)}" + (f"; {escape(error.advice)}" if error.advice else ""))

    @contextmanager
    def progress(self, what: str) -> Iterator[OnProgress]:
        """A bar with rate and time left, in a terminal only."""
        columns = (TextColumn("{task.description}"), BarColumn(), DownloadColumn(), TransferSpeedColumn(), TimeRemainingColumn())
        with Progress(*columns, console=self._err, disable=self.as_json or not self._err.is_terminal) as bars:
            task = bars.add_task(escape(what), total=None)
            yield lambda done, total: bars.update(task, completed=done, total=total or None)
