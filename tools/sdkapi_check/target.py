"""The device under check: how it is reached, what it was allowed to do, and its logins."""
from __future__ import annotations

import json
from dataclasses import dataclass, field
from pathlib import Path

from . import routes
from .report import Report
from .wire import LIMIT, Endpoint, Exchange, request


@dataclass(frozen=True)
class Options:
    """What the check may do, and what it is told about the device."""

    user: str = "admin"
    password: str = "admin"
    write: bool = False
    rough: bool = False
    firmware: Path | None = None
    unit: str = ""
    channel: str = ""
    custom: tuple[str, ...] = ()
    require: tuple[str, ...] = ()
    preview_seconds: float = 1.0


@dataclass
class Target:
    """One run against one device."""

    endpoint: Endpoint
    options: Options
    report: Report
    gated: bool = True  # the device asks for logins
    token: str = ""
    offered: set[str] = field(default_factory=set)

    def ask(self, method: str, path: str, token: str | None = "", body: bytes | None = None, content_type: str = "", *,
            limit: int = LIMIT, seconds: float | None = None, pieces: int = 0) -> Exchange:
        """A request with the run's login; None for one without."""
        return self.endpoint.exchange(request(method, path, self.token if token == "" else token, body, content_type),
                                      limit=limit, seconds=seconds, pieces=pieces)

    def send_form(self, path: str, content: tuple[bytes, str], *, seconds: float | None = None, pieces: int = 0) -> Exchange:
        return self.ask("POST", path, "", *content, seconds=seconds, pieces=pieces)

    def try_login(self, user: str, password: str) -> tuple[Exchange, str]:
        """The exchange, and the token or nothing."""
        self.report.secrets.add(password)
        body = json.dumps({"username": user, "password": password}).encode()
        exchange = self.endpoint.exchange(request("POST", routes.LOGIN, None, body, "application/json"))
        try:
            token = str(json.loads(exchange.body).get("token", ""))
        except (ValueError, AttributeError):
            token = ""
        self.report.secrets.add(token)
        return exchange, token

    def new_login(self) -> str:
        return self.try_login(self.options.user, self.options.password)[1]

    def log_out(self, token: str) -> Exchange:
        return self.endpoint.exchange(request("POST", routes.LOGOUT, token, b""))

    def refresh(self) -> None:
        """A login that works, when the one of the run has ended."""
        if self.gated and self.ask("GET", "/dev_info").status == 401:
            self.token = self.new_login()
