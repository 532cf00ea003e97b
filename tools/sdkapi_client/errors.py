"""What can go wrong between a client and a device, each with what to do about it."""
from __future__ import annotations

from typing import ClassVar


class SdkapiError(Exception):
    """Base of all errors of this package.

    `advice` says what to do, `status` is the device's HTTP status (0: none), `exit_code` is what the command line ends with.
    """

    exit_code: ClassVar[int] = 1

    def __init__(self, message: str, advice: str = "", status: int = 0) -> None:
        super().__init__(message)
        self.message, self.advice, self.status = message, advice, status


class InvalidAddress(SdkapiError):
    """What was named as a device can be none."""

    exit_code = 2


class TooLong(SdkapiError):
    """A name or password that the device would cut."""

    exit_code = 2


class NotAuthorised(SdkapiError):
    """No login, an ended login, or a user without the right."""

    exit_code = 3


class LoginRefused(NotAuthorised):
    """A wrong user name or password."""


class LoginLocked(NotAuthorised):
    """Too many wrong passwords; `seconds` is how long the device waits."""

    def __init__(self, seconds: int) -> None:
        super().__init__(f"the device has locked this user for {seconds} s", "wait, then log in again", 200)
        self.seconds = seconds


class Unreachable(SdkapiError):
    """No connection, or none that answers in time."""

    exit_code = 4


class CertificateError(SdkapiError):
    """The device's certificate is not the trusted one."""

    exit_code = 5

    @classmethod
    def refused(cls, url: str, reason: str = "") -> CertificateError:
        """`reason` is what OpenSSL says of it."""
        return cls(f"the certificate of {url} is not the trusted one" + (f": {reason}" if reason else ""),
                   "compare its name and dates, and the clocks of both sides; a device with a new one: `sdkapi login --trust-new`")


class NotOffered(SdkapiError):
    """The device has no function for this route."""

    exit_code = 6


class Refused(SdkapiError):
    """The device said no."""

    exit_code = 7


class InvalidFile(Refused):
    """The device says that the file is not of this kind."""


class BadReply(SdkapiError):
    """An answer that is not one of the device API."""

    exit_code = 8
