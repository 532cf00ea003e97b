#!/usr/bin/python3
"""How the device is, how it was in the last hour, and who did what.

usage: health_test.py SIMULATOR
"""
import json
import sys
import time
import unittest

from channel import Channel
from device import Device, Reply, form, request
from files import picture

SIMULATOR = sys.argv.pop(1)
PATIENCE = 90  # seconds
PASSWORD = "Correct-Horse-7"
MARKUP = '<img src=x onerror=alert(1)>'
FORGED = '\r\n2026-01-01 00:00:00.000 A accounts: admin from 10.0.0.1 has logged in'


def ask(device, path, token=None):
    return Reply(device.exchange(request("get", path, device.token() if token is None else token)))


def get(device, path, token=None):
    reply = ask(device, path, token)
    assert reply.status == 200, reply.raw
    return json.loads(reply.content())


def post(device, path, body, token=None):
    data = json.dumps(body).encode()
    return Reply(device.exchange(request("post", path, device.token() if token is None else token, data, "application/json")))


def until(what, probe):
    end = time.monotonic() + PATIENCE
    while not (value := probe()):
        assert time.monotonic() < end, f"never happened: {what}"
        time.sleep(0.1)
    return value


def make_user(device, name, role):
    """Its token, once the first password is changed."""
    post(device, "/createuser", {"username": name, "password": "Other-Horse-8", "role": role})
    token = device.log_in(name, "Other-Horse-8")
    reply = post(device, "/change/password", {"username": name, "oldpassword": "Other-Horse-8", "newpassword": PASSWORD}, token)
    assert json.loads(reply.content()) == {"code": 0}, reply.raw
    return token


def check(device, subject):
    return next(one for one in get(device, "/sim/health")["checks"] if one["subject"] == subject)


def acts(device, token=None, since=0):
    """(user, done, action, object, target, reason) of each."""
    return [(act["user"], act["done"], act["action"], act["object"], act["target"], act["reason"])
            for act in get(device, f"/sim/audit?since={since}", token)["acts"]]


def newest(device):
    return get(device, "/sim/audit")["newest"]


class HistoryTest(unittest.TestCase):
    def test_a_point_each_ten_seconds(self):
        with Device(SIMULATOR) as device:
            empty = get(device, "/sim/history")
            self.assertEqual((empty["step"], empty["most"], empty["newest"]), (10, 360, 0))
            self.assertLess(abs(time.time() - empty["begins"]), 60)
            self.assertTrue(all(column == [] for column in empty["columns"].values()))
            for _ in range(50):
                ask(device, "/sim/nothing")
            history = until("two points", lambda: (found := get(device, "/sim/history"))["newest"] >= 2 and found)
            columns = history["columns"]
            self.assertEqual({"time", *history["units"]}, set(columns))
            self.assertEqual({len(column) for column in columns.values()}, {history["newest"]})
            self.assertGreaterEqual(columns["time"][0] - history["begins"], 10)
            self.assertLess(abs(time.time() - columns["time"][-1]), 60)
            self.assertGreaterEqual(columns["time"][1] - columns["time"][0], 10)
            # Each point is a rate since the one before; on a slow machine the last ones may be refused behind the first point.
            times = [history["begins"], *columns["time"]]
            refused = sum(rate * (end - begin + 1) for rate, begin, end in zip(columns["refused"], times, times[1:]))
            self.assertGreaterEqual(refused, 50)
            self.assertGreater(columns["sent"][0], columns["requests"][0])
            newer = get(device, f"/sim/history?since={history['newest'] - 1}")["columns"]
            self.assertEqual(newer["requests"][:1], columns["requests"][-1:])

    def test_what_is_no_number_is_refused(self):
        with Device(SIMULATOR) as device:
            for path in ("/sim/history", "/sim/audit"):
                for bad in ("", "x", "-1", "1x", "9" * 30):
                    reply = ask(device, f"{path}?since={bad}")
                    self.assertEqual((reply.status, json.loads(reply.content())), (400, {"error": "bad number"}), bad)


class HealthTest(unittest.TestCase):
    def test_a_device_that_is_well(self):
        with Device(SIMULATOR, tls=True) as device:
            health = get(device, "/sim/health")
            self.assertEqual(health["verdict"], "good", health)
            self.assertEqual([one["subject"] for one in health["checks"]],
                             ["temperature", "storage", "disk", "certificate", "load", "refusals", "restart"])
            self.assertGreater(check(device, "certificate")["value"], 30)
        with Device(SIMULATOR) as device:
            self.assertNotIn("certificate", [one["subject"] for one in get(device, "/sim/health")["checks"]])

    def test_what_somebody_should_look_at(self):
        with Device(SIMULATOR) as device:
            device.stop()
            device.start()
            self.assertEqual(check(device, "restart"), {"subject": "restart", "state": "good", "value": 0, "limit": 1, "unit": "cut-offs"})
            device.lose_power()
            self.assertEqual(check(device, "restart")["state"], "warning")
            for _ in range(120):
                ask(device, "/sim/nothing")
            until("many refusals", lambda: check(device, "refusals")["state"] == "warning")
            self.assertEqual(get(device, "/sim/health")["verdict"], "warning")

    def test_storage_that_is_nearly_full(self):
        with Device(SIMULATOR) as device:
            self.assertEqual(check(device, "storage")["state"], "good")
            for _ in range(7):  # each is kept beside the old one until it is whole; the note has 32 MiB
                device.exchange(request("post", "/sim/upload", device.token(), *form(bytes(32 << 20), "note")))
            self.assertEqual(check(device, "storage"), {"subject": "storage", "state": "good", "value": 13, "limit": 80, "unit": "percent"})


class AuditTest(unittest.TestCase):
    def test_who_switched_what(self):
        with Device(SIMULATOR) as device:
            operator = make_user(device, "olga", 2)
            before = newest(device)
            self.assertEqual(post(device, "/sim/units/RX01", {"input": "TX02", "online": True}, operator).status, 200)
            self.assertEqual(post(device, "/sim/units/RX01", {"input": "nobody"}, operator).status, 400)
            post(device, "/sim/presets/Day", {"action": "store"})
            post(device, "/sim/presets/Day", {"action": "sing"})
            channel = Channel(device, operator)
            channel.send('{"type":"set-unit-name","id":1,"unit":"TX03","name":"Stage"}')
            channel.wait_for("ok", id=1)
            edid = get(device, "/sim/units/TX01")["edid"]
            self.assertEqual(post(device, "/sim/units/TX02", {"edid": edid}).status, 200)
            channel.send(json.dumps({"type": "set-unit-edid", "id": 5, "unit": "TX02", "edid": "00"}))
            channel.wait_for("error", id=5)
            channel.send('{"type":"preset-recall","id":2,"name":"Night"}')
            channel.wait_for("error", id=2)
            channel.send('{"type":"set-routes","id":3,"routes":{"RX01":"TX01","RX02":""}}')
            channel.wait_for("ok", id=3)
            channel.send('{"type":"set-routes","id":4,"routes":{"nobody":"TX01"}}')
            channel.wait_for("error", id=4)
            post(device, "/sim/presets/Day", {"action": "rename", "to": "Dusk"})
            self.assertEqual(post(device, "/sim/units/RX02", {"locked": True, "made-up": True}, operator).status, 400)
            self.assertEqual(post(device, "/sim/units/RX02", {"locked": True}, operator).status, 200)
            self.assertEqual(acts(device, since=before), [
                ("olga", True, "set-unit-online", "RX01", "true", ""),
                ("olga", True, "set-unit-input", "RX01", "TX02", ""),
                ("olga", False, "set-unit-input", "RX01", "nobody", "no such transmitter"),
                ("admin", True, "preset-store", "Day", "", ""),
                ("olga", True, "set-unit-name", "TX03", "Stage", ""),
                ("admin", True, "set-unit-edid", "TX02", "", ""),
                ("olga", False, "set-unit-edid", "TX02", "", "bad EDID: it is not 128 or 256 bytes long"),
                ("olga", False, "preset-recall", "Night", "", "no such preset"),
                ("olga", True, "set-unit-input", "RX01", "TX01", ""),
                ("olga", True, "set-unit-input", "RX02", "", ""),
                ("olga", False, "set-routes", "", "", "nobody: no such receiver"),
                ("admin", True, "preset-rename", "Day", "Dusk", ""),
                ("olga", True, "set-unit-locked", "RX02", "true", ""),
            ])
            last = get(device, f"/sim/audit?since={newest(device) - 1}")["acts"][0]
            self.assertEqual((last["subject"], last["address"]), ("device", "127.0.0.1"))
            self.assertLess(abs(time.time() * 1000 - last["time"]), 60000)
            channel.socket.close()

    def test_who_changed_users(self):
        with Device(SIMULATOR) as device:
            make_user(device, "kim", 3)
            before = newest(device)
            for path, body in (("kim", {"role": 2}), ("admin", {"role": 3}), ("kim", {"password": "Third-Horse-9"}), ("nobody", {"password": "Third-Horse-9"})):
                post(device, f"/sim/users/{path}", body)
            self.assertEqual(acts(device, since=before), [
                ("admin", True, "role", "kim", "2", ""),
                ("admin", False, "role", "admin", "3", "the last administrator stays one"),
                ("admin", True, "first-password", "kim", "", ""),
                ("admin", False, "first-password", "nobody", "", "there is no such user"),
            ])

    def test_who_bound_and_deleted_pictures(self):
        with Device(SIMULATOR) as device:
            before = newest(device)
            self.assertEqual(Reply(device.exchange(request("post", "/upload/priv", device.token(), *form(picture(), "Stop.png")))).status, 200)
            self.assertEqual(ask(device, "/specifypriv?hostname=RX01&file=Stop.png").status, 200)
            self.assertEqual(ask(device, "/specifypriv?hostname=nobody&file=Stop.png").status, 503)
            self.assertEqual(ask(device, "/delete_priv?file=Stop.png").status, 200)
            self.assertEqual(ask(device, "/delete_priv?file=Stop.png").status, 503)
            self.assertEqual(acts(device, since=before), [
                ("admin", True, "upload", "Stop.png", "/upload/priv", ""),
                ("admin", True, "bind", "Stop.png", "RX01", ""),
                ("admin", False, "bind", "Stop.png", "nobody", "there is no such picture or unit"),
                ("admin", True, "delete", "Stop.png", "", ""),
                ("admin", False, "delete", "Stop.png", "", "there is no such picture"),
            ])

    def test_viewers_see_their_own_acts_alone(self):
        with Device(SIMULATOR) as device:
            viewer = make_user(device, "vera", 3)
            channel = Channel(device, viewer)
            channel.wait_for("hello")
            before = newest(device)
            self.assertEqual(post(device, "/sim/units/RX01", {"online": True}).status, 200)
            self.assertEqual(post(device, "/sim/units/RX01", {"online": True}, viewer).status, 401)
            channel.send('{"type":"set-unit-input","id":1,"unit":"RX01","input":"TX02"}')
            channel.wait_for("error", id=1)
            event = channel.wait_for("audit", newest=before + 3)
            self.assertEqual(set(event), {"type", "newest"})
            self.assertEqual(acts(device, viewer, before), [
                ("vera", False, "request", "POST", "/sim/units", "the role has no right to it"),
                ("vera", False, "set-unit-input", "RX01", "TX02", "not authorised"),
            ])
            self.assertEqual(len(acts(device, since=before)), 3)
            for path in ("/log", "/api/v1/log"):
                self.assertEqual(ask(device, path, viewer).status, 401)
            channel.socket.close()

    def test_names_are_text_and_nothing_is_forged(self):
        with Device(SIMULATOR) as device:
            channel = Channel(device, device.log_in())  # the end of a channel ends its login
            before = newest(device)
            device.exchange(request("post", "/upload/logo", device.token(), *form(b"no picture", MARKUP + ".png")))
            device.log_in("admin" + FORGED, "guess")
            for number, name in enumerate((MARKUP, FORGED, "\u202egnp.ogol", "x" * 60000)):
                channel.send(json.dumps({"type": "set-unit-name", "id": number, "unit": "TX01", "name": name}))
                channel.wait_for("error", id=number)
            self.assertEqual(acts(device, since=before), [
                ("admin", False, "upload", "_img src_x onerror_alert_1__.png", "/upload/logo", "it is no PNG, JPEG or BMP picture"),
                *(("admin", False, "set-unit-name", "TX01", shown, "bad name")
                  for shown in (MARKUP, FORGED.replace("\r\n", "??"), "\u202egnp.ogol", "x" * 255)),
            ])
            channel.socket.close()

    def test_no_secret_is_kept(self):
        with Device(SIMULATOR) as device:
            token = make_user(device, "kim", 2)
            device.log_in("My-Secret-Phrase", "guess")
            device.log_in("kim", "My-Secret-Guess")
            text = json.dumps(get(device, "/sim/audit"))
            self.assertIn(("", False, "password", "(no user)", "", "wrong password"), acts(device))
            for secret in (token, device.token(), PASSWORD, "Other-Horse", "My-Secret"):
                self.assertNotIn(secret, text)

    def test_refusals_do_not_push_out_what_was_done(self):
        with Device(SIMULATOR) as device:
            post(device, "/sim/units/RX01", {"online": False})
            viewer = make_user(device, "vera", 3)
            for _ in range(520):
                post(device, "/sim/units/RX01", {"online": True}, viewer)
            found = acts(device)
            self.assertIn(("admin", True, "set-unit-online", "RX01", "false", ""), found)
            self.assertEqual(sum(not one[1] for one in found), 500)


unittest.main()
