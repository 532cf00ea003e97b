"""Logins and users."""
from __future__ import annotations

from typing import Any

import typer

from sdkapi_client import BadReply, NotAuthorised, NotOffered

from .command import add_all
from .session import Session, UsageError, read_password

PASSWORD_STDIN = typer.Option(False, "--password-stdin", help="Read the password from standard input (else SDKAPI_PASSWORD, else it is asked for).")


def login(session: Session, user: str = typer.Option("admin", "--user", "-u", help="Name of the user."),
          password_stdin: bool = PASSWORD_STDIN,
          trust_new: bool = typer.Option(False, "--trust-new", help="Trust the certificate that the device shows now, also when it has changed.")) -> None:
    """Log in, and keep the token for the commands that follow (mode 0600)."""
    if trust_new:
        session.pin_now()
    client = session.client()
    password = read_password(f"password of {user} at {client.url}: ", password_stdin)
    client.token = ""
    first = session.log_in(client, user, password)
    session.out.result({"device": client.url, "user": user, "first": first, "token_kept": bool(client.token)}, f"logged in to {client.url} as {user}")
    if first:
        session.out.note("the password is still the delivered one; change it: `sdkapi users password`")


def logout(session: Session) -> None:
    """End the login and forget its token."""
    client = session.client()
    if client.token:
        try:
            client.logout()
        except (NotAuthorised, NotOffered):
            pass
    session.store.forget(client.url)
    session.out.result({"device": client.url}, f"logged out of {client.url}")


def whoami(session: Session) -> None:
    """Which device and user the kept login is for, and whether the device still knows it."""
    client = session.client()
    saved = session.store.login(client.url)
    if saved is None:
        raise NotAuthorised("not logged in", "log in first: `sdkapi login`")
    if session.ended(client):
        session.store.forget(client.url)
        raise NotAuthorised("the login has ended", "log in again: `sdkapi login`", 401)
    session.out.result({"device": client.url, "user": saved.user}, f"{saved.user} at {client.url}")


def _entries(answer: Any, route: str) -> list[dict[str, Any]]:
    entries = answer.get("users") if isinstance(answer, dict) else None
    if not isinstance(entries, list) or not all(isinstance(entry, dict) for entry in entries):
        raise BadReply(f"the answer of {route} is no list of users", "name the device's own route for it: --route")
    return entries


def list_users(session: Session, route: str = typer.Option("/sim/users", "--route", help="The device's own route that lists its users.")) -> None:
    """List the users, where the device has a route for it."""
    entries = session.run(lambda client: _entries(client.json(route), route))
    session.out.rows(entries, ("name", "role", "first login"), [(str(e.get("name", "")), str(e.get("role", "")), str(e.get("firstlogin", ""))) for e in entries])


def add_user(session: Session, name: str = typer.Argument(..., help="Name of the new user."),
             role: int = typer.Option(3, "--role", help="Role: 1 administrator, 2 operator, 3 viewer (where the device has these)."),
             password_stdin: bool = PASSWORD_STDIN) -> None:
    """Create a user."""
    password = read_password(f"password of {name}: ", password_stdin, "SDKAPI_NEW_PASSWORD")
    session.run(lambda client: client.create_user(name, password, role))
    session.out.result({"user": name, "role": role}, f"{name} was created")


def remove_user(session: Session, name: str = typer.Argument(..., help="Name of the user.")) -> None:
    """Delete a user."""
    session.run(lambda client: client.delete_user(name))
    session.out.result({"user": name}, f"{name} was deleted")


def change_password(session: Session, password_stdin: bool = typer.Option(False, "--password-stdin", help="Read both passwords, the old one first, from standard input.")) -> None:
    """Change the password of the user who is logged in."""
    saved = session.store.login(session.url())
    if saved is None:
        raise UsageError("not logged in", "log in first: `sdkapi login`")
    old = read_password("old password: ", password_stdin)
    new = read_password("new password: ", password_stdin, "SDKAPI_NEW_PASSWORD")
    user = saved.user
    session.run(lambda client: client.change_password(user, old, new))
    session.out.result({"user": user}, f"the password of {user} was changed")


def add_to(app: typer.Typer) -> None:
    add_all(app, {"login": login, "logout": logout, "whoami": whoami})
    users = typer.Typer(help="List, create and delete users, and change the own password.", no_args_is_help=True)
    add_all(users, {"list": list_users, "add": add_user, "remove": remove_user, "password": change_password})
    app.add_typer(users, name="users")
