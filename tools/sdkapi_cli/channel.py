"""What the device sends by itself: events and pictures."""
from __future__ import annotations

import base64
import json
import os
import sys
import time
from pathlib import Path
from typing import Any

import typer

from sdkapi_client import BadReply, Client, NotAuthorised, SdkapiError, Unreachable
from sdkapi_client.events import Events

from .command import add_all
from .files import stored, told
from .session import Session, UsageError, read_password

# Terminals that show pictures written as "inline images".
_SHOWING = ("iTerm.app", "WezTerm", "mintty")


def _filters(texts: list[str]) -> dict[str, str]:
    pairs = [text.partition("=") for text in texts]
    if any(not found for _, found, _ in pairs):
        raise UsageError("a filter has the form MEMBER=VALUE", "for example --filter type=upgrade")
    return {name: value for name, _, value in pairs}


def _member(event: Any, path: str) -> Any:
    for name in path.split("."):
        event = event.get(name) if isinstance(event, dict) else None
    return event


def _matches(event: Any, filters: dict[str, str]) -> bool:
    return all(str(value) in (wanted, wanted.capitalize()) for value, wanted in ((_member(event, name), wanted) for name, wanted in filters.items()))


def _line(event: Any) -> str:
    if not isinstance(event, dict):
        return str(event)
    members = ", ".join(f"{name} {value if isinstance(value, str) else json.dumps(value, ensure_ascii=False)}" for name, value in event.items() if name != "type")
    text = f"{time.strftime('%H:%M:%S')} {event.get('type', '')}: {members}"
    return text if len(text) <= 200 else text[:197] + "..."


def events(session: Session, filters: list[str] = typer.Option([], "--filter", "-f", metavar="MEMBER=VALUE", help="Only events with this member (a.b for members of members); may be repeated."),
           count: int = typer.Option(0, "--count", "-n", help="End after so many events; 0 goes on.", show_default=False),
           seconds: float = typer.Option(0.0, "--for", metavar="SECONDS", help="End after this time; 0 goes on.", show_default=False),
           user: str = typer.Option("", "--user", "-u", help="Log in as this user for the channel alone, and keep the login of the other commands."),
           password_stdin: bool = typer.Option(False, "--password-stdin", help="Read that user's password from standard input (else SDKAPI_PASSWORD, else it is asked for)."),
           send: list[str] = typer.Option([], "--send", metavar="TEXT", help="Send this text first; may be repeated."),
           path: str = typer.Option("", "--path", help="Path of the channel, when it is not a usual one.")) -> None:
    """Follow the device's events, one a line; with --json each as it came. The device ends the login of a channel that ends: --user gives it one of its own."""
    wanted = _filters(filters)
    _check_time(seconds)
    if any("\ud800" <= character <= "\udfff" for character in "".join(send)):
        raise UsageError("what is sent is no UTF-8")

    def act(client: Client) -> None:
        deadline = time.monotonic() + seconds if seconds else float("inf")
        left = count if count else -1
        with client.events(path or None) as channel:
            for text in send:
                channel.send(text)
            while left and (rest := deadline - time.monotonic()) > 0:
                try:
                    event = channel.receive(min(rest, 3600))
                except TimeoutError:
                    continue
                if event is None:
                    raise _ended(channel)
                if _matches(event, wanted):
                    session.out.result(event, _line(event))
                    left -= 1

    if user:
        client = session.client()
        client.login(user, read_password(f"password of {user}: ", password_stdin))
        act(client)
        return
    try:
        session.run(act)
    finally:
        session.forget_ended()


def _ended(channel: Events) -> SdkapiError:
    """The device has ended the channel: with a reason that it says, or by its own end."""
    if channel.why:
        return NotAuthorised(f"the device has ended the event channel: {channel.why}", "log in again")
    return Unreachable("the device has ended the event channel", "does it restart? wait, and log in again")


def preview(session: Session, unit: str = typer.Argument("", help="Name of the unit; without it the device's own picture."),
            output: Path = typer.Option(None, "--output", "-o", help="Write one picture (JPEG) to this file."),
            seconds: float = typer.Option(5.0, "--for", metavar="SECONDS", help="How long the pictures are counted."),
            show: bool = typer.Option(False, "--show", help="Show the picture in this terminal, if it can show pictures (iTerm2, WezTerm, mintty).")) -> None:
    """Take one picture of a unit (--output, --show), or measure its pictures a second."""
    if show and not (sys.stdout.isatty() and os.environ.get("TERM_PROGRAM") in _SHOWING):
        raise UsageError("this terminal shows no pictures", "write one to a file: --output FILE")
    _check_time(seconds)
    pictures = session.client().preview(unit or None)
    if output is not None or show:
        picture = next(pictures, b"")
        if not picture:
            raise _no_picture()
        if show:
            sys.stdout.write(f"\033]1337;File=inline=1;size={len(picture)}:{base64.b64encode(picture).decode()}\a\n")
        if output is not None:
            stored(output, [picture])
            told(session, output, {"unit": unit, "file": str(output), "bytes": len(picture)})
        return
    _measure(session, unit, pictures, seconds)


def _check_time(seconds: float) -> None:
    if not 0 <= seconds < 1e9:
        raise UsageError("--for is a number of seconds")


def _no_picture() -> BadReply:
    return BadReply("the stream ended without a picture", "is something connected to the unit? `sdkapi units` lists them")


def _measure(session: Session, unit: str, pictures: Any, seconds: float) -> None:
    size = number = 0
    begin = last = 0.0
    for picture in pictures:
        last = time.monotonic()
        begin = begin or last
        number, size = number + 1, size + len(picture)
        if last - begin >= seconds:
            break
    if number == 0:
        raise _no_picture()
    rate = (number - 1) / (last - begin) if last > begin else 0.0
    session.out.result({"unit": unit, "pictures": number, "seconds": round(last - begin, 3), "per_second": round(rate, 2), "bytes": size},
                       f"{rate:.1f} pictures a second, {size / number / 1000:.0f} kB each ({number} in {last - begin:.1f} s)")
    if last - begin < seconds:
        raise Unreachable("the device has ended the stream", "does it restart? `sdkapi info` tells whether it is there")


def add_to(app: typer.Typer) -> None:
    add_all(app, {"events": events, "preview": preview})
