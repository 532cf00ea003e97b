"""Files to and from the device."""
from __future__ import annotations

import os
import sys
import tempfile
import time
from collections.abc import Iterable
from pathlib import Path
from typing import Any, BinaryIO

import typer

from sdkapi_client import DOWNLOADS, UPLOADS, Client, Refused, SdkapiError, Unreachable
from sdkapi_client.events import Events
from sdkapi_client.forms import Progress

from .command import add_all
from .session import Session, UsageError

_UPLOAD_KINDS = [kind for kind in UPLOADS if kind != "firmware"]
_PHASES_END = ("done", "failed")
STDOUT = Path("-")


def _known(kind: str, kinds: list[str]) -> str:
    if kind not in kinds and not kind.startswith("/"):
        raise UsageError(f"there is no kind '{kind}'", f"kinds are {', '.join(kinds)}; or name a route of the device: /PATH")
    return kind


def _file(path: Path) -> Path:
    if not path.is_file():
        raise UsageError(f"{path} is no file", "name the file to send")
    return path


def stored(target: Path, pieces: Iterable[bytes], progress: Progress = lambda done, total: None) -> int:
    """The size of a file that was written beside its target and renamed: a broken one never looks whole. Pipes and terminals are written as they are."""
    if target == STDOUT:
        size = _written(sys.stdout.buffer, pieces, progress)
        sys.stdout.buffer.flush()
        return size
    if target.exists() and not target.is_file():
        with open(target, "wb") as file:
            return _written(file, pieces, progress)
    target = target.resolve()
    try:
        handle, name = tempfile.mkstemp(dir=target.parent, prefix=f".{target.name[:200]}.")
    except FileNotFoundError:
        raise UsageError(f"there is no folder {target.parent}", "make it, or name another file: --output") from None
    try:
        with os.fdopen(handle, "wb") as file:
            size = _written(file, pieces, progress)
        mask = os.umask(0)
        os.umask(mask)
        os.chmod(name, 0o666 & ~mask)
        os.replace(name, target)
    except BaseException:
        os.unlink(name)
        raise
    return size


def told(session: Session, target: Path, value: dict[str, Any]) -> None:
    """What was written; not where it would get into the file."""
    if target != STDOUT:
        session.out.result(value, f"wrote {target}: {value['bytes']:,} bytes")


def _written(file: BinaryIO, pieces: Iterable[bytes], progress: Progress) -> int:
    size = 0
    for piece in pieces:
        file.write(piece)
        size += len(piece)
        progress(size, 0)
    return size


def _save(client: Client, kind: str, target: Path | None, progress: Progress, **query: str) -> tuple[Path, int]:
    with client.download(kind, **query) as download:
        if target is None or target.is_dir():
            target = (target or Path()) / download.name
        return target, stored(target, download.pieces, progress)


def _send(session: Session, client: Client, kind: str, file: Path, port: int | None = None) -> float:
    """Sends a file; the seconds that it took."""
    begin = time.monotonic()
    with session.out.progress(file.name) as progress:
        client.upload(kind, file, progress=progress, port=port)
    return time.monotonic() - begin


def _sent(session: Session, kind: str, file: Path, seconds: float) -> None:
    size = file.stat().st_size
    session.out.result({"kind": kind, "file": str(file), "bytes": size, "seconds": round(seconds, 3)},
                       f"sent {file} as {kind}: {size:,} bytes in {seconds:.1f} s, {size / max(seconds, 1e-6) / 1e6:.1f} MB/s")


def upload(session: Session, kind: str = typer.Argument(..., help="Kind of file: " + ", ".join(_UPLOAD_KINDS) + "; or a route of the device's own.",
                                                        autocompletion=lambda: _UPLOAD_KINDS),
           file: Path = typer.Argument(..., help="The file."),
           port: int = typer.Option(0, "--port", help="Header Port, which goes with kind 802.1x.", show_default=False)) -> None:
    """Send a file to the device."""
    _known(kind, _UPLOAD_KINDS)
    _sent(session, kind, file, session.run(lambda client: _send(session, client, kind, _file(file), port or None)))


def _follow_upgrade(session: Session, events: Events, seconds: float) -> str:
    """Shows the device's own phases until it says that it is done, and gives the last one."""
    deadline, phase = time.monotonic() + seconds, ""
    while phase not in _PHASES_END and (left := deadline - time.monotonic()) > 0:
        try:
            event = events.receive(left)
        except TimeoutError:
            break
        if event is None:
            break
        if isinstance(event, dict) and event.get("type") == "upgrade" and event.get("phase") not in (phase, "receiving"):
            phase = str(event.get("phase"))
            session.out.note(f"device: {phase}" + (f" {event['version']}" if event.get("version") else ""))
    return phase


def _wait_for_device(client: Client, seconds: float) -> None:
    """Until the device answers again."""
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        try:
            client.device_info()
            return
        except (Unreachable, Refused):
            time.sleep(0.5)
        except SdkapiError:
            return
    raise Unreachable("the device does not answer after the upgrade", "does it still reboot? look at it, then `sdkapi info`")


def firmware(session: Session, file: Path = typer.Argument(..., help="The firmware container."),
             events: bool = typer.Option(True, "--events/--no-events", help="Follow the device's phases on its event channel, which ends the login."),
             wait: float = typer.Option(300.0, "--wait", metavar="SECONDS", help="Longest wait for the end of the upgrade; 0 does not wait.")) -> None:
    """Send firmware to the device, and wait until it is done."""
    _file(file)

    def act(client: Client) -> dict[str, Any]:
        channel = _open_events(session, client) if events and wait else None
        try:
            seconds = _send(session, client, "firmware", file)
            phase = _follow_upgrade(session, channel, wait) if channel else ""
            if wait and phase != "failed":
                _wait_for_device(client, wait)
        finally:
            if channel:
                channel.close()
                session.forget_ended()
        return {"seconds": seconds, "phase": phase}

    outcome = session.run(act)
    if outcome["phase"] == "failed":
        raise Refused("the device says that the upgrade failed", "its log tells why: `sdkapi download log`")
    _sent(session, "firmware", file, outcome["seconds"])


def _open_events(session: Session, client: Client) -> Events | None:
    try:
        return client.events()
    except SdkapiError:
        session.out.note("the device opens no event channel: its phases cannot be shown")
        return None


def download(session: Session, kind: str = typer.Argument(..., help="Kind of file: " + ", ".join(DOWNLOADS) + "; or a route of the device's own.",
                                                          autocompletion=lambda: list(DOWNLOADS)),
             output: Path = typer.Option(None, "--output", "-o", help="File or folder to write to, - for standard output; without it the name that the device gives.")) -> None:
    """Fetch a file from the device."""
    _fetch(session, _known(kind, list(DOWNLOADS)), output)


def _fetch(session: Session, kind: str, output: Path | None, **query: str) -> None:
    with session.out.progress(kind) as progress:
        target, size = session.run(lambda client: _save(client, kind, output, progress, **query))
    told(session, target, {"kind": kind, "file": str(target), "bytes": size})


def export_settings(session: Session, output: Path = typer.Option(None, "--output", "-o", help="File or folder to write to."),
                    method: str = typer.Option("", "--method", help="What to export, in the device's own words (for example full, users, units).")) -> None:
    """Fetch the device's settings as one archive."""
    query = {"method": method} if method else {}
    _fetch(session, "settings", output, **query)


def import_settings(session: Session, file: Path = typer.Argument(..., help="An archive that was exported before.")) -> None:
    """Send an archive of settings to the device."""
    _sent(session, "settings", file, session.run(lambda client: _send(session, client, "settings", _file(file))))


def add_to(app: typer.Typer) -> None:
    add_all(app, {"upload": upload, "firmware": firmware, "download": download})
    settings = typer.Typer(help="Fetch and send the device's settings.", no_args_is_help=True)
    add_all(settings, {"export": export_settings, "import": import_settings})
    app.add_typer(settings, name="settings")
