"""What a device answers, as records."""
from __future__ import annotations

from dataclasses import dataclass, field
from typing import Any


@dataclass(frozen=True)
class Login:
    """A login; `token` is empty when the device asks for none. `first` tells that the password is still the delivered one."""

    token: str
    first: bool
    wizard: str = ""


@dataclass(frozen=True)
class DeviceInfo:
    """Model, security mode, session time-out (seconds) and clock; None where the device tells nothing."""

    model: str | None
    security: str | None
    timeout: int | None
    devicetime: str | None


@dataclass(frozen=True)
class Unit:
    """A transmitter or receiver. The members are the host's choice: the usual ones by name, all of them in `members`."""

    name: str
    type: str
    online: bool | None
    members: dict[str, Any] = field(default_factory=dict)


@dataclass(frozen=True)
class Privilege:
    """A picture and the units it is bound to."""

    serial: int
    picture: str
    hosts: tuple[str, ...]
