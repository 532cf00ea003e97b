"""What the command line keeps between runs: one login per device, and the certificates that it trusts."""
from __future__ import annotations

import json
import os
import re
import tempfile
from collections.abc import Callable
from dataclasses import asdict, dataclass
from pathlib import Path

from sdkapi_client import SdkapiError


class NotKept(SdkapiError):
    """There is no place for what the command line keeps."""


def _base(variable: str, fallback: str) -> Path:
    value = os.environ.get(variable, "")
    try:
        return (Path(value) if value.startswith("/") else Path.home() / fallback) / "sdkapi"
    except RuntimeError:
        raise NotKept("there is no home folder", f"set HOME, or {variable} to a folder that can be written") from None


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


def _keep(what: str, variable: str, path: Callable[[], Path], text: str) -> None:
    try:
        write_private(path(), text)
    except OSError as error:
        raise NotKept(f"{what} cannot be kept: {error.strerror}: {path().parent}", f"set {variable} to a folder that can be written") from None


def _read(path: Callable[[], Path]) -> str:
    """Empty where nothing was kept, or nothing that can be read."""
    try:
        return path().read_text(encoding="utf-8")
    except (FileNotFoundError, NotADirectoryError, NotKept, UnicodeDecodeError):
        return ""


@dataclass(frozen=True)
class SavedLogin:
    url: str
    user: str
    token: str


class Store:
    """Tokens below the state folder, pins below the data folder, as the XDG base directories say."""

    def device(self) -> str:
        """The address that was logged in to last."""
        return _read(self._current_path)

    def login(self, url: str) -> SavedLogin | None:
        try:
            saved = SavedLogin(**json.loads(_read(lambda: self._login_path(url))))
        except (ValueError, TypeError):
            return None
        os.chmod(self._login_path(url), 0o600)
        return saved if saved.url == url else None

    def keep(self, login: SavedLogin) -> None:
        _keep("the login", "XDG_STATE_HOME", lambda: self._login_path(login.url), json.dumps(asdict(login)))
        _keep("the device", "XDG_STATE_HOME", self._current_path, login.url)

    def forget(self, url: str) -> None:
        try:
            self._login_path(url).unlink(missing_ok=True)
        except (NotADirectoryError, NotKept):
            pass  # nothing was ever kept

    def pin(self, url: str) -> str:
        return _read(lambda: self._pin_path(url))

    def keep_pin(self, url: str, pem: str) -> None:
        _keep("the certificate", "XDG_DATA_HOME", lambda: self._pin_path(url), pem)

    @staticmethod
    def _current_path() -> Path:
        return _base("XDG_STATE_HOME", ".local/state") / "device"

    @staticmethod
    def _login_path(url: str) -> Path:
        return _base("XDG_STATE_HOME", ".local/state") / "logins" / (url.partition("://")[0] + "-" + _file_name(url) + ".json")

    @staticmethod
    def _pin_path(url: str) -> Path:
        return _base("XDG_DATA_HOME", ".local/share") / "certificates" / (_file_name(url) + ".pem")
