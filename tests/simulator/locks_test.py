#!/usr/bin/python3
"""What locks, routes of several receivers and presets' names do, and that they outlive a start and go with the settings.

usage: locks_test.py SIMULATOR
"""
import io
import json
import pathlib
import sqlite3
import sys
import zipfile

from channel import Channel
from device import Device, Reply, form, request

LOCKED = (400, {"error": "the receiver is locked"})


def call(device, path, token=None, **body):
    data = json.dumps(body).encode()
    token = token or device.token()
    reply = Reply(device.exchange(request("post", path, token, data, "application/json") if body else request("get", path, token)))
    return reply.status, json.loads(reply.content()) if reply.content() else None


def units(device):
    return {unit["name"]: unit for unit in call(device, "/sim/units")[1]["units"]}


def inputs(device):
    return {name: unit["input"] for name, unit in units(device).items() if unit["type"] == "rx"}


def locked(device):
    return [name for name, unit in units(device).items() if unit["locked"]]


def check_locks(device, channel):
    assert locked(device) == []
    status, unit = call(device, "/sim/units/RX02", locked=True)
    assert (status, unit["locked"], unit["input"]) == (200, True, "TX02")
    channel.wait_for("unit", unit=unit)
    assert call(device, "/sim/units/RX02", input="TX01") == LOCKED
    assert call(device, "/sim/units/RX02", input="") == LOCKED
    assert call(device, "/sim/units/RX02", locked=True, input="TX01") == LOCKED
    assert call(device, "/sim/units/TX01", locked=True) == (400, {"error": "only receivers can be locked"})
    assert call(device, "/sim/units/RX02", locked="yes") == (400, {"error": "bad body"})
    channel.send('{"type":"set-unit-input","id":1,"unit":"RX02","input":"TX01"}')
    channel.wait_for("error", id=1, text="the receiver is locked")
    assert call(device, "/sim/units/RX02", name="Foyer", online=False)[0] == 200
    assert call(device, "/sim/units/Foyer", locked=False, input="TX01")[1]["input"] == "TX01"
    assert call(device, "/sim/units/Foyer", locked=True, input="TX02")[1]["locked"] is True
    channel.send('{"type":"set-unit-locked","id":2,"unit":"Foyer","locked":false}')
    channel.wait_for("ok", id=2)
    assert call(device, "/sim/units/Foyer", name="RX02", online=True, locked=True)[0] == 200
    assert locked(device) == ["RX02"]


def check_fixed_list(device):
    listed = json.loads(call(device, "/getTxRxList")[1]["list"])
    assert listed == [{name: value for name, value in unit.items() if name != "locked"} for unit in units(device).values()]


def check_rename(device, channel):
    """The receivers that show a transmitter have its new name."""
    assert call(device, "/sim/units/TX04", name="Stage")[0] == 200
    channel.wait_for("unit", unit=units(device)["RX04"])
    assert units(device)["RX04"]["input"] == "Stage"
    assert call(device, "/sim/units/Stage", name="TX04")[0] == 200


def check_routes(device, channel):
    before = inputs(device)
    refused = [({"RX01": "TX03", "RX02": "TX03"}, "RX02: the receiver is locked"), ({"RX01": "TX03", "RX09": ""}, "RX09: no such receiver"),
               ({"RX01": "TX03", "TX01": ""}, "TX01: no such receiver"), ({"RX01": "TX03", "RX03": "RX04"}, "RX03: no such transmitter"),
               ({}, "bad value"), ([], "bad value"), ({"RX01": 1}, "bad value"), ({f"RX{n}": "" for n in range(129)}, "bad value")]
    for number, (routes, text) in enumerate(refused, 100):
        channel.send(json.dumps({"type": "set-routes", "id": number, "routes": routes}))
        channel.wait_for("error", id=number, text=text)
    channel.send('{"type":"set-routes","id":3}')
    channel.wait_for("error", id=3, text="members are missing")
    assert inputs(device) == before
    channel.send('{"type":"set-routes","id":4,"routes":{"RX01":"TX03","RX03":""}}')
    channel.wait_for("ok", id=4)
    assert inputs(device) == {**before, "RX01": "TX03", "RX03": ""}
    channel.wait_for("unit", unit=units(device)["RX03"])


def check_presets(device, channel):
    routes = inputs(device)
    assert call(device, "/sim/presets/Day", action="store")[0] == 200
    for receiver in ("RX01", "RX04"):
        assert call(device, f"/sim/units/{receiver}", input="", locked=receiver == "RX01")[0] == 200
    assert call(device, "/sim/presets/Day", action="recall") == (200, {"name": "Day", "routes": routes, "locked": ["RX01"]})
    channel.wait_for("preset", name="Day", action="recalled", locked=["RX01"])
    assert inputs(device) == {**routes, "RX01": ""}
    assert call(device, "/sim/units/RX01", locked=False)[0] == 200
    assert call(device, "/sim/presets/Day", action="recall")[1]["locked"] == []
    assert inputs(device) == routes

    assert call(device, "/sim/presets/Night", action="store")[0] == 200
    assert call(device, "/sim/presets/Day", action="rename", to="Night") == (400, {"error": "name is taken"})
    assert call(device, "/sim/presets/Day", action="rename", to="a b") == (400, {"error": "bad name"})
    assert call(device, "/sim/presets/Dusk", action="rename", to="Dawn") == (404, {"error": "no such preset"})
    for body in ({"action": "rename"}, {"action": "rename", "to": 1}, {"action": "recall", "to": "x"}, {"to": "x"}):
        assert call(device, "/sim/presets/Day", **body) == (400, {"error": "bad body"}), body
    assert call(device, "/sim/presets/Day", action="rename", to="Noon") == (200, {"name": "Noon", "routes": routes})
    channel.wait_for("preset", name="Noon", action="renamed", was="Day")
    channel.send('{"type":"preset-rename","id":5,"name":"Noon","to":"Day"}')
    channel.wait_for("ok", id=5)
    channel.send('{"type":"preset-rename","id":6,"name":"Noon"}')
    channel.wait_for("error", id=6, text="members are missing")


def exported(device):
    content = Reply(device.exchange(request("get", "/api/v1/settings/export?method=units", device.token()))).content()
    with zipfile.ZipFile(io.BytesIO(content)) as archive:
        return {name: archive.read(name) for name in archive.namelist()}


def send(device, entries):
    content = io.BytesIO()
    with zipfile.ZipFile(content, "w") as archive:
        for name, data in entries.items():
            archive.writestr(name, data)
    return Reply(device.exchange(request("post", "/api/v1/settings/import", device.token(), *form(content.getvalue(), "s.zip")))).status


def check_settings(device, channel):
    entries = exported(device)
    before = units(device)
    presets = call(device, "/sim/presets")[1]["presets"]
    assert Reply(device.exchange(request("post", "/custom_restore", device.token()))).status == 200
    assert locked(device) == []
    later = Channel(device)
    assert send(device, entries) == 200
    assert units(device) == before
    later.wait_for("presets", id=None, presets=presets)
    later.wait_for("units", units=list(before.values()))

    older = [{name: value for name, value in unit.items() if name != "locked"} for unit in json.loads(entries["units.json"])]
    assert send(device, {**entries, "units.json": json.dumps(older)}) == 200
    assert locked(device) == []


def check_older_database(device):
    """One from before there were locks gets them when it is opened."""
    assert call(device, "/sim/units/RX01", locked=True)[0] == 200
    device.lose_power()
    assert locked(device) == ["RX01"]
    assert device.stop() == 0
    with sqlite3.connect(pathlib.Path(device.folder.name, "device.db")) as database:
        database.execute("ALTER TABLE units DROP COLUMN locked")
    database.close()
    device.start()
    assert locked(device) == []
    assert call(device, "/sim/units/RX01", locked=True)[1]["locked"] is True


def check_roles(device):
    for name, role in (("olga", 2), ("vera", 3)):
        assert call(device, "/createuser", username=name, password="Correct-Horse-7", role=role)[1]["code"] == 0
        token = device.log_in(name, "Correct-Horse-7")
        change = {"username": name, "oldpassword": "Correct-Horse-7", "newpassword": "Correct-Horse-8"}
        assert call(device, "/change/password", token, **change)[1]["code"] == 0
        expected = 200 if role == 2 else 401
        assert call(device, "/sim/units/RX04", token, locked=True)[0] == expected
        assert call(device, "/sim/units/RX04", token, locked=False)[0] == expected


def main():
    with Device(sys.argv[1]) as device:
        channel = Channel(device)
        channel.wait_for("hello", presets=[])
        check_locks(device, channel)
        check_fixed_list(device)
        check_rename(device, channel)
        check_routes(device, channel)
        check_presets(device, channel)
        check_settings(device, channel)
        check_older_database(device)
        check_roles(device)


main()
