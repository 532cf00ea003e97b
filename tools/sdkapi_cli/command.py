"""The shape of every command: the common options, and errors as exit codes."""
from __future__ import annotations

import inspect
import os
import sys
from collections.abc import Callable, Mapping
from typing import Any

import typer

from sdkapi_client import CertificateError, SdkapiError

from .output import Output
from .session import Session, UsageError, changed_certificate

COMMON = {
    "device": (str, typer.Option("", "--device", "-d", envvar="SDKAPI_DEVICE", show_default=False, metavar="URL",
                                 help="Address of the device; without it the one that was logged in to last.")),
    "cacert": (str, typer.Option("", "--cacert", envvar="SDKAPI_CACERT", show_default=False, metavar="FILE",
                                 help="Trust these certificates (PEM) instead of pinning the device's own on first use.")),
    "timeout": (float, typer.Option(30.0, "--timeout", metavar="SECONDS", help="Longest wait for a sign of the device.")),
    "as_json": (bool, typer.Option(False, "--json", help="Results and errors as JSON.")),
}


def _run(function: Callable[..., None], session: Session, arguments: dict[str, Any]) -> None:
    try:
        if not 0 < session.timeout < 1e6:
            raise UsageError("--timeout is a number of seconds above 0")
        function(session, **arguments)
    except SdkapiError as error:
        session.out.error(_explained(session, error))
        raise typer.Exit(error.exit_code) from None
    except BrokenPipeError:
        _drop_output()
        raise typer.Exit(1) from None
    except OSError as error:
        _drop_output()
        session.out.error(SdkapiError(f"{error.strerror or error}: {error.filename}" if error.filename else str(error)))
        raise typer.Exit(1) from None
    except KeyboardInterrupt:
        raise typer.Exit(130) from None
    except Exception as error:
        if "SDKAPI_DEBUG" in os.environ:
            raise
        session.out.error(SdkapiError(f"a fault of this program: {type(error).__name__}: {error}", "SDKAPI_DEBUG=1 shows where; please report it"))
        raise typer.Exit(1) from None


def _drop_output() -> None:
    """What could not be written must not be tried again at the end."""
    try:
        sys.stdout.flush()
    except OSError:
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())


def _explained(session: Session, error: SdkapiError) -> SdkapiError:
    """A refused certificate with both fingerprints, where one is pinned."""
    if isinstance(error, CertificateError) and not session.ca_file:
        try:
            return changed_certificate(session.url(), session.store.pin(session.url()), session.timeout) or error
        except SdkapiError:
            pass
    return error


def _command(function: Callable[..., None]) -> Callable[..., None]:
    """A function of a session and its own options as a command with the common options."""
    def wrapper(*, device: str, cacert: str, timeout: float, as_json: bool, **arguments: Any) -> None:
        _run(function, Session(device, cacert, timeout, Output(as_json)), arguments)

    own = list(inspect.signature(function, eval_str=True).parameters.values())[1:]
    common = [inspect.Parameter(name, inspect.Parameter.KEYWORD_ONLY, default=option, annotation=kind) for name, (kind, option) in COMMON.items()]
    parameters = [*(parameter.replace(kind=inspect.Parameter.KEYWORD_ONLY) for parameter in own), *common]
    wrapper.__doc__ = function.__doc__
    wrapper.__signature__ = inspect.Signature(parameters)  # type: ignore[attr-defined]
    wrapper.__annotations__ = {parameter.name: parameter.annotation for parameter in parameters}
    return wrapper


def add_all(app: typer.Typer, commands: Mapping[str, Callable[..., None]]) -> None:
    for name, function in commands.items():
        app.command(name)(_command(function))
