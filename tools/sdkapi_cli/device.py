"""The device itself: what it is, its units, what it answers."""
from __future__ import annotations

from dataclasses import asdict

import typer

from sdkapi_check.offers import Offer, offers
from sdkapi_check.wire import Endpoint
from sdkapi_client import Client, NotAuthorised

from .command import add_all
from .session import Session


def info(session: Session) -> None:
    """Show model, security mode, session time-out and clock."""
    found = session.run(lambda client: client.device_info())
    members = {name: value for name, value in asdict(found).items() if value is not None}
    session.out.rows(members, ("member", "value"), [(name, str(value)) for name, value in members.items()])


def units(session: Session) -> None:
    """List the transmitters and receivers."""
    found = session.run(lambda client: client.units())
    states = {True: "online", False: "offline", None: ""}
    rows = [(unit.name, unit.type, states[unit.online], str(unit.members.get("ip", "")), str(unit.members.get("input", ""))) for unit in found]
    session.out.rows([unit.members for unit in found], ("name", "type", "state", "address", "input"), rows)


def routes(session: Session) -> None:
    """Show which routes the device answers, without changing anything on it."""
    def ask(client: Client) -> list[Offer]:
        if not client.token and client.login_needed():
            raise NotAuthorised("not logged in")
        if session.ended(client):
            raise NotAuthorised("the login has ended", status=401)
        return offers(Endpoint(client.url, client.context, client.timeout), client.token)

    found = session.run(ask)
    session.out.rows([asdict(offer) for offer in found], ("route", "offered", "why"), [(offer.route, offer.state, offer.why) for offer in found])


def add_to(app: typer.Typer) -> None:
    add_all(app, {"info": info, "units": units, "routes": routes})
