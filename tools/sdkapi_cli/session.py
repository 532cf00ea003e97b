"""One run of the command line: the device, its login and its certificate."""
from __future__ import annotations

import getpass
import os
import sys
from collections.abc import Callable
from dataclasses import dataclass, field
from typing import TypeVar
from urllib.parse import urlsplit

from sdkapi_client import (BadReply, CertificateError, Client, NotAuthorised, NotOffered, Refused, SdkapiError, Trust, certificate_of,
                           fingerprint)
from sdkapi_client.session import normal_url

from .output import Output
from .store import SavedLogin, Store

T = TypeVar("T")


class UsageError(SdkapiError):
    exit_code = 2


@dataclass
class Session:
    """What the options of every command say."""

    device: str
    ca_file: str
    timeout: float
    out: Output
    store: Store = field(default_factory=Store)

    def url(self) -> str:
        chosen = self.device or self.store.device()
        if not chosen:
            raise UsageError("no device is named", "say --device URL, set SDKAPI_DEVICE, or log in once: `sdkapi login --device URL`")
        return normal_url(chosen)

    def trust(self) -> Trust:
        """The file that was named, else the pinned certificate; a device that is new here gets pinned."""
        url = self.url()
        if self.ca_file:
            return Trust(ca_file=self.ca_file)
        if urlsplit(url).scheme != "https":
            return Trust()
        pin = self.store.pin(url)
        return Trust(pin=pin or self.pin_now())

    def pin_now(self) -> str:
        url = self.url()
        pem = certificate_of(url, self.timeout)
        self.store.keep_pin(url, pem)
        self.out.note(f"the certificate of {url} is trusted from now on: SHA-256 {fingerprint(pem)}")
        return pem

    def client(self) -> Client:
        """A client with the kept login, if there is one."""
        url = self.url()
        saved = self.store.login(url)
        return Client(url, token=saved.token if saved else "", trust=self.trust(), timeout=self.timeout)

    def run(self, action: Callable[[Client], T]) -> T:
        """Runs an action; a login that has ended is forgotten."""
        client = self.client()
        try:
            return action(client)
        except NotAuthorised as error:
            if client.token and self.ended(client):
                self.store.forget(client.url)
                raise NotAuthorised("the login has ended", "log in again: `sdkapi login`", error.status) from None
            if not client.token:
                raise NotAuthorised("not logged in", "log in first: `sdkapi login`", error.status) from None
            raise

    @staticmethod
    def ended(client: Client) -> bool:
        """Whether the device no longer knows the login; a user without a right still has one. Raises when the device cannot be asked."""
        try:
            client.device_info()
        except NotAuthorised:
            return True
        except (NotOffered, Refused, BadReply):
            return False
        return False

    def forget_ended(self) -> None:
        """The device ends a login with its channel."""
        try:
            ended = self.store.login(self.url()) and self.ended(self.client())
        except SdkapiError:
            return  # a device that cannot be asked
        if ended:
            self.store.forget(self.url())
            self.out.note("the device has ended this login with its channel; log in again: `sdkapi login`")

    def log_in(self, client: Client, user: str, password: str) -> bool:
        login = client.login(user, password)
        try:
            self.store.keep(SavedLogin(client.url, user, login.token))
        except SdkapiError:
            client.logout()  # nobody could use it
            raise
        return login.first


def read_password(prompt: str, from_stdin: bool, variable: str = "SDKAPI_PASSWORD") -> str:
    """A password: the environment's, a line of standard input, or typed; never an argument, which others can see."""
    if from_stdin:
        line = sys.stdin.buffer.readline()
        if not line:
            raise UsageError("standard input holds no password", "write one line for each password")
        return _text(line.rstrip(b"\r\n"))
    if variable in os.environ:
        return _text(os.environb[variable.encode()])
    if not sys.stdin.isatty():
        raise UsageError("no password", f"set {variable}, or use --password-stdin")
    try:
        return getpass.getpass(prompt)
    except EOFError:
        raise UsageError("no password was typed") from None


def _text(password: bytes) -> str:
    try:
        return password.decode()
    except UnicodeDecodeError:
        raise UsageError("the password is no UTF-8", "devices take passwords as UTF-8") from None


def changed_certificate(url: str, pinned: str, timeout: float) -> CertificateError | None:
    """The error with both fingerprints, when the device shows another certificate than the pinned one."""
    shown = certificate_of(url, timeout)
    if shown == pinned or "BEGIN CERTIFICATE" not in pinned:
        return None
    return CertificateError(f"the certificate of {url} has changed: {fingerprint(pinned)} before, {fingerprint(shown)} now",
                            "if the device has a new one: `sdkapi login --trust-new`; else do not go on")
