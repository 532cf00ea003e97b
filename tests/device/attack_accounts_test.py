#!/usr/bin/python3
"""Attacks on logins, passwords and rights of the simulated device, each of which leaves it as it was.

usage: attack_accounts_test.py SIMULATOR [REGEX]
"""
import contextlib
import json
import socket
import threading

from attacks import PASSWORD as GOOD, PATIENCE, device_with, hold, log_of, send, wait_until
from channel import Channel
from device import Reply, request

OTHER = "Other-Horse-8"


def ask(device, method, path, token="", members=None, headers=None, source="127.0.0.1"):
    body = None if members is None else json.dumps(members).encode()
    raw = request(method, path, token, body, "application/json", headers)
    reply = b""
    with socket.create_connection(("127.0.0.1", device.port), PATIENCE, (source, 0)) as client:
        client.sendall(raw)
        while piece := client.recv(65536):
            reply += piece
    return Reply(reply)


def try_login(device, name="admin", password=GOOD, source="127.0.0.1"):
    return json.loads(ask(device, "post", "/api/v1/auth/login", members={"username": name, "password": password}, source=source).content())


def log_in(device, name="admin", password=GOOD, source="127.0.0.1"):
    answer = try_login(device, name, password, source)
    assert answer["code"] == 0, answer
    return answer["token"]


def code(device, path, token, **members):
    return json.loads(ask(device, "post", path, token, members).content())["code"]


def status(device, path, token, **options):
    return ask(device, "get", path, token, **options).status


def add_user(device, admin, name, role):
    """A user with a password of the own choice."""
    assert code(device, "/createuser", admin, username=name, password=OTHER, role=role) == 0
    token = log_in(device, name, OTHER)
    assert code(device, "/change/password", token, username=name, oldpassword=OTHER, newpassword=GOOD) == 0
    assert ask(device, "post", "/logout", token).status == 200


def many_viewer_logins(device):
    admin = log_in(device)
    add_user(device, admin, "eve", 3)
    for _ in range(260):
        log_in(device, "eve")
    assert status(device, "/sim/units", admin) == 200, "the administrator was thrown out"
    sessions = json.loads(ask(device, "get", "/sim/sessions", admin).content())["sessions"]
    assert len(sessions) == 9, sessions


def logins_without_log_out(device):
    tokens = [log_in(device) for _ in range(40)]
    assert status(device, "/sim/units", tokens[-1]) == 200 and status(device, "/sim/units", tokens[0]) == 401


def all_places_taken(device):
    admin = log_in(device)
    for number in range(13):
        add_user(device, admin, f"viewer{number}", 3)
    ask(device, "post", "/logout", admin)
    for number in range(12):
        log_in(device, f"viewer{number}")
    refused = try_login(device, "viewer12")
    assert refused["code"] == 2 and refused["lockTime"] > 0, refused
    assert status(device, "/sim/users", log_in(device)) == 200


def deleted_user_goes_on(device):
    admin = log_in(device)
    add_user(device, admin, "eve", 3)
    eve = log_in(device, "eve")
    channel = Channel(device, eve)
    assert code(device, "/deleteuser", admin, username="eve") == 0
    for path in ("/sim/units", "/log", "/download/custom", "/sim/picture/logo", "/sim/download", "/sim/files"):
        assert status(device, path, eve) == 401, path
    channel.wait_for_close(1008, "user deleted")


def names(device, token):
    return {user["name"] for user in json.loads(ask(device, "get", "/sim/users", token).content())["users"]}


def acts_of_a_deleted_administrator(device):
    """Of what was asked for before nothing is done behind the deletion: no other account stays behind."""
    admin = log_in(device)
    add_user(device, admin, "mal", 1)
    mal, codes = log_in(device, "mal"), []

    def create(number):
        codes.append(ask(device, "post", "/createuser", mal, {"username": f"m{number}", "password": OTHER, "role": 1}).status)

    threads = [threading.Thread(target=create, args=(number,)) for number in range(14)]
    for thread in threads:
        thread.start()
    wait_until("none is made", lambda: names(device, admin) > {"admin", "mal"})
    assert code(device, "/deleteuser", admin, username="mal") == 0
    before = names(device, admin)
    for thread in threads:
        thread.join()
    assert len(codes) == len(threads) and set(codes) <= {200, 401}, codes
    assert names(device, admin) == before
    if 401 in codes:  # in the middle of its act, or before it came in
        log = log_of(device, "device.log")
        assert "the login that asks has ended" in log or "token err!!!!" in log


def restored_users_go_on(device):
    admin = log_in(device)
    add_user(device, admin, "eve", 3)
    eve, channel = log_in(device, "eve"), Channel(device, admin)
    assert ask(device, "post", "/custom_restore", admin).status == 200
    channel.wait_for_close(1008, "users replaced")
    for token in (admin, eve):
        assert status(device, "/log", token) == 401
    assert try_login(device, "eve")["code"] == 1


def users_whom_an_import_removes_go_on(device):
    """Who is the same as before stays logged in."""
    admin = log_in(device)
    archive = ask(device, "get", "/api/v1/settings/export?method=users", admin).content()
    add_user(device, admin, "eve", 3)
    eve, own = log_in(device, "eve"), Channel(device, admin)
    channel = Channel(device, eve)
    assert send(device, "/api/v1/settings/import", archive, "settings.zip", token=admin).status == 200
    channel.wait_for_close(1008, "users replaced")
    assert (status(device, "/sim/units", eve), status(device, "/sim/units", admin)) == (401, 200)
    assert try_login(device, "eve")["code"] == 1
    own.wait_for("hello")
    assert not own.ended


def deleted_user_hears_on(device):
    """What a client did not read while its user was there is not followed by what happens afterwards."""
    admin = log_in(device)
    add_user(device, admin, "eve", 3)
    channel = Channel(device, log_in(device, "eve"), reads=False)
    for number in range(200):
        assert ask(device, "post", f"/sim/presets/p{number % 10}", admin, {"action": "store"}).status == 200
    assert code(device, "/deleteuser", admin, username="eve") == 0
    assert ask(device, "post", "/sim/presets/secret", admin, {"action": "store"}).status == 200
    channel.read_on()
    channel.wait_for_close(1008, "user deleted")
    assert channel.find("preset", name="p9") and not channel.find("preset", name="secret")


def old_token_after_password_change(device):
    own, stolen = log_in(device), log_in(device)
    channel = Channel(device, stolen)
    assert code(device, "/change/password", own, username="admin", oldpassword=GOOD, newpassword=OTHER) == 0
    assert (status(device, "/log", own), status(device, "/log", stolen)) == (200, 401)
    channel.wait_for_close(1008, "account changed")


def parallel_guesses(device):
    codes = []
    threads = [threading.Thread(target=lambda: codes.append(try_login(device, "admin", "guess")["code"])) for _ in range(46)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert sorted(codes) == [1] * 5 + [2] * 41, codes
    assert try_login(device, "admin", GOOD)["code"] == 2, "the right password told itself"


def locking_the_administrator_out(device):
    for _ in range(8):
        try_login(device, "admin", "guess", "127.0.0.9")
    assert try_login(device, "admin", GOOD, "127.0.0.9")["code"] == 2
    assert status(device, "/sim/users", log_in(device)) == 200


def old_password_guesses(device):
    admin = log_in(device)
    add_user(device, admin, "eve", 3)
    stolen = log_in(device, "eve")
    change = {"username": "eve", "oldpassword": "guess", "newpassword": OTHER}
    assert [code(device, "/change/password", stolen, **change) for _ in range(6)] == [1] * 5 + [8]
    assert try_login(device, "eve")["code"] == 2


def guessed_names(device):
    """Made-up names take no room from real ones, and wait as they do."""
    for number in range(4):
        try_login(device, "admin", "guess", "127.0.0.9")
    for number in range(60):
        try_login(device, f"name{number}", "guess", f"127.0.1.{number}")
    try_login(device, "admin", "guess", "127.0.0.9")
    assert try_login(device, "admin", GOOD, "127.0.0.9")["code"] == 2
    codes = [try_login(device, f"other{number}", "guess", "127.0.0.10")["code"] for number in range(21)]
    assert codes == [1] * 20 + [2], codes


def log_forging(device):
    name = "x\r\n2026-01-01 00:00:00.000 I audit accounts: adm"
    try_login(device, name[:31], "guess")
    try_login(device, "admin\n", "guess")
    ask(device, "get", "/sim/units", "token\x1b[31m")
    lines = log_of(device, "device.log").splitlines()
    assert not any(line.startswith("2026-01-01 00:00:00.000") for line in lines)


def secrets_in_the_log(device):
    token = log_in(device)
    assert code(device, "/change/password", token, username="admin", oldpassword=GOOD, newpassword=OTHER) == 0
    text = log_of(device, "device.log")
    assert GOOD not in text and OTHER not in text and token not in text


def acts_pushed_out_by_repetition(device):
    """Who did something that should not be seen repeats something harmless: what is told of the device is still there."""
    admin = log_in(device)
    add_user(device, admin, "kim", 2)
    add_user(device, admin, "eve", 3)
    kim, eve = log_in(device, "kim"), log_in(device, "eve")
    assert try_login(device, "admin", "guess", "127.0.0.9")["code"] == 1
    assert ask(device, "post", "/sim/units/TX01", kim, {"online": False}).status == 200
    for _ in range(520):
        assert ask(device, "post", "/sim/presets/harmless", kim, {"action": "store"}).status == 200
        assert status(device, "/sim/users", eve) == 401
    acts = json.loads(ask(device, "get", "/sim/audit", admin).content())["acts"]
    assert len(acts) == 1000, len(acts)
    told = {(act["user"], act["action"], act["object"], act["done"]) for act in acts}
    assert {("kim", "set-unit-online", "TX01", True), ("eve", "log-in", "eve", True), ("", "password", "admin", False)} <= told, told


def rights_of_a_viewer(device):
    admin = log_in(device)
    add_user(device, admin, "eve", 3)
    eve = log_in(device, "eve")
    before = ask(device, "get", "/sim/units", admin).content()
    for method, path, members in (
            ("post", "/createuser", {"username": "mal", "password": GOOD, "role": 1}), ("post", "/deleteuser", {"username": "admin"}),
            ("post", "/change/password", {"username": "admin", "oldpassword": GOOD, "newpassword": OTHER}),
            ("get", "/custom_restore", None), ("post", "/custom_restore", {}), ("get", "/specifypriv?hostname=RX01&file=a.png", None),
            ("get", "/delete_priv?file=a.png", None), ("post", "/sim/units/TX01", {"online": False}), ("get", "/sim/users", None)):
        assert ask(device, method, path, eve, members).status == 401, path
    assert ask(device, "get", "/sim/units", admin).content() == before
    assert "refused POST /createuser$ to eve from 127.0.0.1: the role has no right to it" in log_of(device, "device.log")


def changes_of_others(device):
    """Role and first password: administrators alone, the last of whom stays one; the user's logins end."""
    admin = log_in(device)
    add_user(device, admin, "eve", 3)
    eve = log_in(device, "eve")
    for members in ({"role": 1}, {"password": GOOD}):
        assert ask(device, "post", "/sim/users/eve", eve, members).status == 401
        assert ask(device, "post", "/sim/users/admin", eve, members).status == 401
    for role in (0, -1, 4, 31, 4294967297, 2**64 - 1):
        assert code(device, "/sim/users/eve", admin, role=role) == 7, role
    assert code(device, "/sim/users/admin", admin, role=2) == 5
    assert code(device, "/sim/users/nobody", admin, role=2) == 4
    assert code(device, "/sim/users/nobody", admin, password=OTHER) == 4
    assert code(device, "/sim/users/eve", admin, password="weak") == 2
    for members in ({}, [], {"role": "1"}, {"role": 1.5}, {"password": 1}, {"role": 2, "password": OTHER}):
        assert ask(device, "post", "/sim/users/eve", admin, members).status == 400, members
    assert ask(device, "get", "/sim/users/eve", admin).status == 405
    assert (status(device, "/sim/units", eve), status(device, "/sim/units", admin)) == (200, 200)
    assert code(device, "/sim/users/eve", admin, role=2) == 0
    assert status(device, "/sim/units", eve) == 401
    assert code(device, "/sim/users/eve", admin, password=OTHER) == 0
    assert try_login(device, "eve", GOOD)["code"] == 1
    assert try_login(device, "eve", OTHER)["firstlogin"] == 1
    assert OTHER not in log_of(device, "device.log")


def ending_others_sessions(device):
    admin = log_in(device)
    add_user(device, admin, "eve", 3)
    eve = log_in(device, "eve")
    sessions = json.loads(ask(device, "get", "/sim/sessions", admin).content())["sessions"]
    other = next(session["id"] for session in sessions if session["name"] == "admin")
    assert [session["name"] for session in json.loads(ask(device, "get", "/sim/sessions", eve).content())["sessions"]] == ["eve"]
    assert ask(device, "post", "/sim/sessions", eve, {"end": other}).status == 404
    assert status(device, "/sim/units", admin) == 200
    own = next(session["id"] for session in sessions if session["name"] == "eve")
    assert ask(device, "post", "/sim/sessions", admin, {"end": own}).status == 200
    assert status(device, "/sim/units", eve) == 401


def odd_session_requests(device):
    admin = log_in(device)
    deep = b'{"end":' + b"[" * 60000
    for body in (b"", b"{", b"[]", b'{"end":-1}', b'{"end":1.5}', b'{"end":"1"}', b'{"end":99999999999999999999}', deep):
        reply = Reply(device.exchange(request("post", "/sim/sessions", admin, body, "application/json")))
        assert reply.status == 400, body[:40]
    assert ask(device, "put", "/sim/sessions", admin, {}).status == 405


def hidden_idle_login(device):
    """A channel that says nothing does not keep its login, and leaves no ghost among the clients."""
    channels = []

    def opens():
        """On a slow machine the login may have ended first."""
        with contextlib.suppress(OSError):
            channels.append(Channel(device, log_in(device)))
        return channels

    def nobody_is_there():
        reply = ask(device, "get", "/sim/status", log_in(device))
        return reply.status == 200 and json.loads(reply.content())["clients"] == 0

    wait_until("no channel opens", opens)
    channels[0].wait_for_close(1008, "login idle")
    wait_until("a ghost is left", nobody_is_there)


def first_password(device):
    answer = try_login(device, "admin", "admin")
    assert answer["firstlogin"] == 1, answer
    token = answer["token"]
    for path in ("/sim/units", "/getTxRxList", "/log", "/sim/users", "/download/edid", "/api/v1/settings/export"):
        assert status(device, path, token) in (401, 404), path
    assert send(device, "/upload/logo", b"content", token=token).status == 401
    assert (status(device, "/dev_info", token), status(device, "/sim/me", token)) == (200, 200)
    Channel(device, token).wait_for_close(1008, "not authorised")
    token = log_in(device, "admin", "admin")
    assert code(device, "/change/password", token, username="admin", oldpassword="admin", newpassword="admin") == 2
    assert code(device, "/change/password", token, username="admin", oldpassword="admin", newpassword=GOOD) == 0
    assert status(device, "/sim/units", token) == 200


def names_and_passwords_of_any_kind(device):
    admin = log_in(device)
    for name in ("", " ", "a b", "../x", "x" * 400, "ä", "'; DROP TABLE users; --", "<b>"):
        answer = code(device, "/createuser", admin, username=name, password=GOOD, role=2)
        assert answer == (6 if name != "x" * 400 else answer), (name, answer)
    for role in (0, 4, -1, 31, 32, 33, 4294967297, "1"):
        assert code(device, "/createuser", admin, username="mal", password=GOOD, role=role) in (7,), role
    users = json.loads(ask(device, "get", "/sim/users", admin).content())["users"]
    assert {user["name"] for user in users} <= {"admin", "x" * 31}, users


hold({**dict.fromkeys((many_viewer_logins, logins_without_log_out, all_places_taken, deleted_user_goes_on, acts_of_a_deleted_administrator, restored_users_go_on,
                       users_whom_an_import_removes_go_on, deleted_user_hears_on,
                       old_token_after_password_change, parallel_guesses, locking_the_administrator_out, old_password_guesses, guessed_names,
                       log_forging, acts_pushed_out_by_repetition, secrets_in_the_log, rights_of_a_viewer, changes_of_others, ending_others_sessions, odd_session_requests,
                       names_and_passwords_of_any_kind), device_with()),
      hidden_idle_login: device_with("--idle-timeout", "1"), first_password: device_with(first_password=None)})
