"""The commands, by subject."""
from __future__ import annotations

import sys

import click
import typer

from sdkapi_client import SdkapiError

from . import account, channel, checking, device, files
from .output import Output

app = typer.Typer(name="sdkapi", no_args_is_help=True, add_completion=True, rich_markup_mode=None, pretty_exceptions_enable=False,
                  help="Talks to a device with the device API: logins, users, files, firmware, previews, events, and a conformance check.",
                  epilog="Exit codes: 0 done, 1 failed (or findings), 2 usage, 3 login, 4 no connection, 5 certificate, 6 not offered, 7 refused, 8 bad answer.")
for subject in (account, device, files, channel, checking):
    subject.add_to(app)


def main() -> None:
    if "--json" not in sys.argv:
        app(prog_name="sdkapi")
    try:
        sys.exit(app(prog_name="sdkapi", standalone_mode=False))
    except click.ClickException as error:
        path = error.ctx.command_path if isinstance(error, click.UsageError) and error.ctx else "sdkapi"
        Output(True).error(SdkapiError(error.format_message(), f"`{path} --help` tells its arguments"))
        sys.exit(error.exit_code)
