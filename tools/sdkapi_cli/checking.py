"""The conformance check of a device."""
from __future__ import annotations

from pathlib import Path

import typer

from sdkapi_check.report import FAILED, PASSED, Report
from sdkapi_check.run import check
from sdkapi_check.target import Options
from sdkapi_check.wire import Endpoint
from sdkapi_client import SdkapiError

from .command import add_all
from .session import Session, UsageError, read_password


class Findings(SdkapiError):
    exit_code = 1


def _options(session: Session, values: dict[str, object]) -> Options:
    for told in values["custom"]:  # type: ignore[attr-defined]
        kind, found, path = told.partition(":")
        if (found and kind not in ("get", "upload", "download")) or not (path if found else told).startswith("/"):
            raise UsageError(f"'{told}' is no route", "write it as /PATH, upload:/PATH or download:/PATH")
    if values["firmware"] is not None and not Path(str(values["firmware"])).is_file():
        raise UsageError(f"{values['firmware']} is no file", "name a firmware container")
    if not 0.1 <= float(str(values["preview_seconds"])) <= 3600:
        raise UsageError("--preview-seconds is a number from 0.1 to 3600")
    return Options(**values)  # type: ignore[arg-type]


def _show(session: Session, report: Report, all_rules: bool) -> None:
    chosen = [r for r in report.results if all_rules or r.state != PASSED]
    session.out.rows(report.values(), ("area", "subject", "rule", "level", "state", ""),
                     [(r.area, r.subject, r.rule, r.level, r.state.upper() if r.state == FAILED else r.state, report.clean(r.detail)) for r in chosen])
    session.out.note(report.summary())


def check_device(session: Session, url: str = typer.Argument(..., help="Address of the device: http://HOST:PORT or https://HOST:PORT."),
                 user: str = typer.Option("admin", "--user", "-u", help="Name of a user; an administrator sees most."),
                 password_stdin: bool = typer.Option(False, "--password-stdin", help="Read the password from standard input (else SDKAPI_PASSWORD, else it is asked for)."),
                 write: bool = typer.Option(False, "--write", help="Also what changes the device: a user comes and goes, small pictures and texts are uploaded and stay."),
                 firmware: Path = typer.Option(None, "--firmware", metavar="FILE", help="Also an upgrade with this container."),
                 rough: bool = typer.Option(False, "--rough", help="Also bad input, idle clients, and as many logins as the device takes."),
                 route: list[str] = typer.Option([], "--route", metavar="ROUTE", help="A route of the host's own: /PATH, upload:/PATH or download:/PATH; may be repeated."),
                 require: list[str] = typer.Option([], "--require", metavar="NAME", help="A route, or events, that the device has to offer; may be repeated."),
                 unit: str = typer.Option("", "--unit", help="Unit whose preview is watched; without it the first of the list."),
                 channel: str = typer.Option("", "--channel", metavar="PATH", help="Path of the event channel, when it is not a usual one."),
                 seconds: float = typer.Option(1.0, "--preview-seconds", help="How long each preview is watched."),
                 junit: Path = typer.Option(None, "--junit", metavar="FILE", help="Write the results as JUnit XML."),
                 page: Path = typer.Option(None, "--html", metavar="FILE", help="Write the results as one page, with request and answer of each finding."),
                 all_rules: bool = typer.Option(False, "--all", help="Show the rules that were kept, too."),
                 strict: bool = typer.Option(False, "--strict", help="Fail for a broken should, too.")) -> None:
    """Check whether a running device speaks the device API: what it must, what it should, and what it does not offer."""
    session.device = url
    for report_file in (junit, page):
        if report_file is not None and not report_file.parent.is_dir():
            raise UsageError(f"there is no folder for {report_file}", "make it before the check, which takes a while")
    options = _options(session, {"user": user, "write": write, "firmware": firmware, "rough": rough, "custom": tuple(route), "require": tuple(require),
                                 "unit": unit, "channel": channel, "preview_seconds": seconds,
                                 "password": read_password(f"password of {user} at {url}: ", password_stdin)})
    endpoint = Endpoint(session.url(), session.client().context, min(session.timeout, 10.0))
    report = check(endpoint, options)
    _show(session, report, all_rules)
    if junit is not None:
        junit.write_text(report.junit(), encoding="utf-8")
    if page is not None:
        page.write_text(report.page(), encoding="utf-8")
    if report.failed(None if strict else "must"):
        raise Findings("the device does not speak the device API in every point", "--html FILE shows request and answer of each finding")


def add_to(app: typer.Typer) -> None:
    add_all(app, {"check": check_device})
