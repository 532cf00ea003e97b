"""Which routes a device answers, found out without changing anything on it."""
from __future__ import annotations

from dataclasses import dataclass

from . import routes
from .wire import Endpoint, request

OFFERED, EMPTY, UNKNOWN = "yes", "no", "not asked"


@dataclass(frozen=True)
class Offer:
    route: str
    state: str
    why: str


def login_required(endpoint: Endpoint) -> bool:
    """The gate comes before everything else: it shows with any token that nobody has."""
    return endpoint.exchange(request("GET", "/dev_info", "nobody")).status == 401


def offer(endpoint: Endpoint, path: str, token: str) -> Offer:
    if path == routes.RESTORE or path in routes.WRITE:
        return Offer(path, UNKNOWN, "asking could change the device")
    if path == routes.LOGOUT:
        return Offer(path, OFFERED, "part of every device")
    if path == routes.LOGIN:
        status = endpoint.exchange(request("POST", path, None, b"{}", "application/json")).status
    else:
        status = endpoint.exchange(routes.probe(path, token), limit=2000, seconds=5).status
    if status == 404 and path in (*routes.SETTINGS, routes.LOGO, "/preview"):
        return Offer(path, EMPTY, "404: the device has no function for it, or it refuses")
    if status == 404 or status == 405:
        return Offer(path, EMPTY, f"{status}: the device has no function for it")
    if status == 401:
        return Offer(path, UNKNOWN, "401: this login may not ask")
    return Offer(path, OFFERED, f"answers {status}" if status else "ends the connection without an answer")


def offers(endpoint: Endpoint, token: str) -> list[Offer]:
    return [offer(endpoint, path, token) for path in routes.ALL]
