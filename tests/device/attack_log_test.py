#!/usr/bin/python3
"""Attacks on the device's log, on its data folder and on its end.

usage: attack_log_test.py SIMULATOR
"""
import contextlib
import pathlib
import re
import signal
import socket
import subprocess
import sys
import time
import unittest

from device import Device, Reply, form, request

SIMULATOR = sys.argv.pop(1)
PATIENCE = 60  # seconds
LINE = re.compile(r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} [IAWE] [a-z]+: [^\x00-\x1f\x7f]*")
FORGED = "2026-01-01 00:00:00.000 A accounts: admin logged in"
# What a client can write into a line: names, paths, tokens, fields of forms.
FORGERIES = {
    "a path": lambda: request("get", "/preview/x%0a" + FORGED.replace(" ", "%20"), ""),
    "a token": lambda: request("post", "/upload/logo", "x\\n" + FORGED),
    "a user's name": lambda: request("post", "/api/v1/auth/login", "", b'{"username":"x\\n%s","password":"y"}' % FORGED.encode(), "application/json"),
    "a user's name with an escape": lambda: request("post", "/api/v1/auth/login", "", b'{"username":"x\\u001b[2K\\r%s","password":"y"}' % FORGED.encode(),
                                                    "application/json"),
    "a user's name with a separator of lines": lambda: request("post", "/api/v1/auth/login", "",
                                                               b'{"username":"x\\u2028%s","password":"y"}' % FORGED.encode(), "application/json"),
    "a file's name": lambda: request("post", "/upload/logo", "", *form(b"x", "x\r\n" + FORGED)),
    "a method": lambda: b"X\x0b" + FORGED.encode() + b" / HTTP/1.1\r\nHost: a\r\n\r\n",
}
# What anybody can repeat, and what leaves an audit line or an error each time.
FLOODS = {
    "wrong passwords": lambda: request("post", "/api/v1/auth/login", "", b'{"username":"admin","password":"guess"}', "application/json"),
    "changes without a login": lambda: request("post", "/sim/units/TX01", "nobody's", b"{}", "application/json"),
    "uploads without a login": lambda: request("post", "/upload/logo", "nobody's", *form(b"x")),
    "own uploads without a login": lambda: request("post", "/sim/upload", "nobody's", *form(b"x")),
}
MOST_LINES = 110  # of one kind that a minute leaves in errors.log
# Who sends one byte now and then, or reads one.
DRIPPING = {
    "a head": lambda token: b"GET / HTTP/1.1\r\nHost: a\r\nX: ",
    "a login": lambda token: b"POST /api/v1/auth/login HTTP/1.1\r\nHost: a\r\nContent-Length: 100000\r\n\r\n{",
    "a refused upload": lambda token: b"POST /upload/logo HTTP/1.1\r\nHost: a\r\nContent-Length: 100000\r\n\r\n",
    "an upload": lambda token: request("post", "/upload/logo", token, *form(b"", "x.png"), {"Expect": ""}).replace(b"\r\n--contract-boundary--\r\n", b""),
    "a WebSocket's frame": lambda token: (f"GET /ws HTTP/1.1\r\nHost: a\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: 13\r\n"
                                          f"Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Protocol: {token}\r\n\r\n").encode()
                           + b"\x81\xfe\x7f\xff\0\0\0\0",
    "a preview that is not read": lambda token: request("get", "/preview/TX01", token),
}


def log(device, name="device.log"):
    return "".join(path.read_bytes().decode() for path in sorted(pathlib.Path(device.folder.name, "log").glob(name.replace(".", "*."))))


def ask(device, path, token=""):
    return Reply(device.exchange(request("get", path, token)))


class LogTest(unittest.TestCase):
    def test_a_start_is_no_error(self):
        with Device(SIMULATOR) as device:
            self.assertNotEqual(log(device, "errors.log"), "")
            self.assertNotIn(" E ", log(device, "errors.log"))

    def test_no_client_writes_a_line(self):
        with Device(SIMULATOR) as device:
            for name, attack in FORGERIES.items():
                with self.subTest(name):
                    device.exchange(attack())
                    for line in log(device).split("\n")[:-1]:
                        self.assertIsNotNone(LINE.fullmatch(line), line)
                        self.assertFalse(line.startswith("2026-01-01 00:00:00.000"), line)
                        self.assertNotIn("\u2028", line)
            self.assertIn(FORGED.split(" A ")[0], log(device))  # it was logged, within a line

    def test_anonymous_requests_do_not_rotate_errors_away(self):
        with Device(SIMULATOR) as device:
            self.assertEqual(device.log_in("intruder", "Wrong-Horse-9"), "")
            before = log(device, "errors.log")
            end = time.monotonic() + PATIENCE
            while not pathlib.Path(device.folder.name, "log", "device.2.log").exists():
                self.assertLess(time.monotonic(), end)
                with device.connect() as client:  # many on one connection; each is an error in the log
                    client.sendall(request("get", "/download/edid", "x" * 900).replace(b"Connection: close\r\n", b"") * 20)
                    while client.recv(65536):
                        pass
            after = log(device, "errors.log")
            self.assertTrue(after.startswith(before))
            self.assertLess(len(after), len(before) + 64 * 1024)

    def test_anonymous_floods_leave_room_for_what_others_do(self):
        """Of a flood a few lines last, whatever stood there before stays, and what is done behind it is said."""
        for name, attack in FLOODS.items():
            with self.subTest(name), Device(SIMULATOR, first_password="Correct-Horse-7") as device:
                before = log(device, "errors.log")
                for _ in range(300):
                    self.assertIn(Reply(device.exchange(attack())).status, (200, 401))
                after = log(device, "errors.log")
                self.assertTrue(after.startswith(before))
                self.assertLess(after.count("\n") - before.count("\n"), MOST_LINES)
                if name != "wrong passwords":  # then this address has to wait
                    self.assertNotEqual(device.log_in("admin", "Correct-Horse-7"), "")
                    self.assertIn("admin from 127.0.0.1 has logged in", log(device, "errors.log"))

    def test_no_secret_is_kept(self):
        with Device(SIMULATOR, "--log-level", "1") as device:
            token = device.token()
            for path in ("/dev_info", "/api/v1/log", "/sim/units", "/getTxRxList"):
                ask(device, path, token)
            device.exchange(request("post", "/api/v1/auth/login", "", b'{"username":"admin","password":"My-Secret-Phrase-1"}', "application/json"))
            device.exchange(request("post", "/upload/logo", "My-Secret-Token-2", *form(b"x")))
            for secret in (token, "My-Secret", "Correct-Horse"):
                self.assertNotIn(secret, log(device))

    def test_a_pass_phrase_is_not_kept(self):
        with Device(SIMULATOR, tls=True) as device:
            for phrase in pathlib.Path(device.folder.name, "tls").glob("*passphrase*"):
                self.assertNotIn(phrase.read_text().strip(), log(device))


class FolderTest(unittest.TestCase):
    def test_a_second_device_is_refused_and_changes_nothing(self):
        with Device(SIMULATOR) as device:
            before = {path: path.stat().st_mtime_ns for path in pathlib.Path(device.folder.name).rglob("*.db*")}
            done = subprocess.run([SIMULATOR, "--http-port", "0", "--https-port", "1", "--data-dir", device.folder.name],
                                  capture_output=True, text=True, timeout=PATIENCE, check=False)
            self.assertEqual((done.returncode, done.stdout), (3, ""))
            self.assertEqual(done.stderr, f"{device.folder.name} is in use by another device (process {device.process.pid})\n")
            self.assertEqual({path: path.stat().st_mtime_ns for path in before}, before)


class StopTest(unittest.TestCase):
    def end_behind(self, device, clients):
        """Ends the device while the clients go on dripping; its exit code."""
        device.process.send_signal(signal.SIGTERM)
        end = time.monotonic() + PATIENCE
        while device.process.poll() is None and time.monotonic() < end:
            for client in clients:
                with contextlib.suppress(OSError):
                    client.sendall(b"x")
            time.sleep(0.01)
        return device.process.poll()

    def test_dripping_clients_do_not_keep_it(self):
        for tls in (False, True):
            for name, opening in DRIPPING.items():
                with self.subTest(name, tls=tls):
                    device = Device(SIMULATOR, tls=tls)
                    clients = []
                    try:
                        token = device.token()
                        for _ in range(5):
                            clients.append(device.connect())
                            clients[-1].sendall(opening(token))
                        self.assertEqual(self.end_behind(device, clients), 0)
                    finally:
                        for client in clients:
                            client.close()
                        device.process.kill()
                        device.process.wait(PATIENCE)
                        device.process.stdout.close()
                        device.folder.cleanup()

    def test_half_a_tls_handshake_does_not_keep_it(self):
        with Device(SIMULATOR, tls=True) as device, contextlib.ExitStack() as stack:
            clients = [stack.enter_context(socket.create_connection(("127.0.0.1", device.port), PATIENCE)) for _ in range(5)]
            for client in clients:
                client.sendall(b"\x16\x03\x01\x02\x00")
            self.assertEqual(self.end_behind(device, clients), 0)


unittest.main()
