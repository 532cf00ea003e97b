"""What the command line keeps between runs: one login per device, and the certificates that it trusts."""
from __future__ import annotations

import json
import os
import re
import tempfile
from dataclasses import asdict, dataclass
from pathlib import Path


def _base(variable: str, fallback: str) -> Path:
    value = os.environ.get(variable, "")
    return (Path(value) if value.startswith("/") else Path.home() / fallback) / "sdkapi"


def _file_name(url: str) -> str:
    """A file name for a device: readable, and different for different addresses."""
    return re.sub(r"[^A-Za-z0-9._-]", lambda found: f"%{ord(found.group()):02X}", url.partition("://")[2].lower())


def write_private(path: Path, text: str) -> None:
    """Replaces a file in one step; nobody else can ever read it."""
    path.parent.mkdir(parents=True, exist_ok=True, mode=0o700)
    handle, name = tempfile.mkstemp(dir=path.parent)
    try:
        with os.fdopen(handle, "w", encoding="utf-8") as file:
            file.write(text)
        os.replace(name, path)
    except BaseException:
        os.unlink(name)
        raise


def _read(path: Path) -> str:
    try:
        return path.read_text(encoding="utf-8")
    except (FileNotFoundError, NotADirectoryError):
        return ""


@dataclass(frozen=True)
class SavedLogin:
    url: str
    user: str
    token: str


class Store:
    """Tokens below the state folder, pins below the data folder, as the XDG base directories say."""

    def __init__(self) -> None:
        state = _base("XDG_STATE_HOME", ".local/state")
        self._logins, self._current = state / "logins", state / "device"
        self._pins = _base("XDG_DATA_HOME", ".local/share") / "certificates"

    def device(self) -> str:
        """The address that was logged in to last."""
        return _read(self._current)

    def login(self, url: str) -> SavedLogin | None:
        path = self._login_path(url)
        try:
            saved = SavedLogin(**json.loads(_read(path)))
        except (ValueError, TypeError):
            return None
        os.chmod(path, 0o600)
        return saved if saved.url == url else None

    def keep(self, login: SavedLogin) -> None:
        write_private(self._login_path(login.url), json.dumps(asdict(login)))
        write_private(self._current, login.url)

    def forget(self, url: str) -> None:
        self._login_path(url).unlink(missing_ok=True)

    def pin(self, url: str) -> str:
        return _read(self._pin_path(url))

    def keep_pin(self, url: str, pem: str) -> None:
        write_private(self._pin_path(url), pem)

    def _login_path(self, url: str) -> Path:
        return self._logins / (url.partition("://")[0] + "-" + _file_name(url) + ".json")

    def _pin_path(self, url: str) -> Path:
        return self._pins / (_file_name(url) + ".pem")
