"""A whole run of the check."""
from __future__ import annotations

import ssl
from collections.abc import Callable

from sdkapi_client.errors import SdkapiError

from . import channel, device, preview, rough, server, session, tls, transfer
from .report import Report
from .target import Options, Target
from .wire import Endpoint

Check = Callable[[Target], None]

# In this order: what ends logins comes behind what needs them.
CHECKS: tuple[Check, ...] = (device.check_device, transfer.check_downloads, preview.check_preview, server.check_server, device.check_users,
                             transfer.check_uploads, server.check_custom, channel.check_channel, rough.check_rough, tls.check_tls,
                             transfer.check_firmware)


def check(endpoint: Endpoint, options: Options, told: Callable[[str], None] = lambda area: None) -> Report:
    """Runs every check against the device; `told` hears of each area that begins."""
    report = Report(endpoint.url, {options.password})
    target = Target(endpoint, options, report)
    if session.begin(target):
        for step in (session.check_gate, session.check_login, *CHECKS) if target.gated else CHECKS:
            told(step.__name__.removeprefix("check_"))
            _step(target, step)
        _check_required(target)
        session.end(target)
    return report


def _step(target: Target, step: Check) -> None:
    """A device that stops answering is a finding, and the other checks still run."""
    try:
        step(target)
        target.refresh()
    except (SdkapiError, OSError, ssl.SSLError) as error:
        target.report.must("device", "answers", f"{step.__name__.removeprefix('check_')}: {error}")


def _check_required(target: Target) -> None:
    target.report.area = "required"
    for name in target.options.require:
        target.report.must(name, "is offered, as required", "" if name in target.offered else "it is not")
