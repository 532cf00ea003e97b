"""The commands, by subject."""
from __future__ import annotations

import typer

from . import account, channel, checking, device, files

app = typer.Typer(name="sdkapi", no_args_is_help=True, add_completion=True, rich_markup_mode=None,
                  help="Talks to a device with the device API: logins, users, files, firmware, previews, events, and a conformance check.",
                  epilog="Exit codes: 0 done, 1 failed (or findings), 2 usage, 3 login, 4 no connection, 5 certificate, 6 not offered, 7 refused, 8 bad answer.")
for subject in (account, device, files, channel, checking):
    subject.add_to(app)


def main() -> None:
    app(prog_name="sdkapi")
