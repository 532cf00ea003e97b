#!/usr/bin/python3
"""The runner around a device program: options, lock, log, signals, systemd, and every way to end.

usage: runner_test.py HOST
"""
import contextlib
import os
import pathlib
import re
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest

from program import free_port

HOST = sys.argv.pop(1)
PATIENCE = 60  # seconds
LINE = re.compile(r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} [IAWE] [a-z]+: [^\x00-\x1f\x7f]*")


class Host:
    """A running host; its output up to "ready" is in `lines`."""

    def __init__(self, folder, *options, port=None, environment=None):
        self.folder, self.port = pathlib.Path(folder), port or free_port()
        self.process = subprocess.Popen([HOST, "--http-port", str(self.port), "--data-dir", folder, *options], text=True,
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE, env={**os.environ, **(environment or {})})
        self.lines = []
        for line in self.process.stdout:
            self.lines.append(line.rstrip("\n"))
            if self.lines[-1] == "ready":
                break

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.process.poll() is None:
            self.process.kill()
        self.process.communicate()

    def end(self, *signals):
        """Exit code, the rest of the output, and what it complained about."""
        for one in signals:
            self.process.send_signal(one)
        rest, complaint = self.process.communicate(timeout=PATIENCE)
        return self.process.returncode, rest.split("\n")[:-1], complaint

    def ask(self, request):
        with socket.create_connection(("127.0.0.1", self.port), PATIENCE) as client:
            client.sendall(request)
            return b"".join(iter(lambda: client.recv(65536), b""))

    def log(self, name="device.log"):
        return (self.folder / "log" / name).read_text()


def get(path, token="S3cret-token"):
    return f"GET {path} HTTP/1.1\r\nHost: a\r\nConnection: close\r\nAuthorization: Bearer {token}\r\n\r\n".encode()


def wait_until(condition):
    end = time.monotonic() + PATIENCE
    while not condition():
        assert time.monotonic() < end
        time.sleep(0.01)


@contextlib.contextmanager
def manager(name):
    """A service manager's socket, and the environment that names it."""
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as receiver:
        receiver.bind(name.replace("@", "\0"))
        receiver.settimeout(PATIENCE)
        yield receiver, {"NOTIFY_SOCKET": name, "WATCHDOG_USEC": "40000"}


class RunnerTest(unittest.TestCase):
    def setUp(self):
        self.temporary = tempfile.TemporaryDirectory()
        self.folder = self.temporary.name + "/data"

    def tearDown(self):
        self.temporary.cleanup()

    def fails(self, *options, folder=""):
        done = subprocess.run([HOST, "--data-dir", folder or self.folder, *options], capture_output=True, text=True, timeout=PATIENCE, check=False)
        return done.returncode, done.stdout, done.stderr

    def write(self, text):
        path = f"{self.temporary.name}/host{len(os.listdir(self.temporary.name))}.conf"
        pathlib.Path(path).write_text(text)
        return path

    def test_options_reach_the_program(self):
        with Host(self.folder) as host:
            self.assertEqual(host.lines, ["number 7, flag 0, text old", f"ports {host.port} 0, no-auth 0, www ", "in its folder: yes",
                                          "started", f"http://localhost:{host.port}/", "listening on all interfaces", "ready"])
            self.assertEqual(host.end(signal.SIGTERM), (0, ["stopping", "stopped"], ""))
        options = ["--number", "9", "--flag", "--text", "1234567", "--no-auth", "--www", self.temporary.name]
        with Host(self.folder, *options) as host:
            self.assertEqual(host.lines[:2], ["number 9, flag 1, text 1234567", f"ports {host.port} 0, no-auth 1, www {self.temporary.name}"])

    def test_a_file_has_the_same_names_and_the_command_line_wins(self):
        path = self.write("number = 3\nflag = true\ntext = \"file\"\nno-auth = true\n")
        with Host(self.folder, "--config", path, "--text", "line") as host:
            self.assertEqual(host.lines[:2], ["number 3, flag 1, text line", f"ports {host.port} 0, no-auth 1, www "])

    def test_a_path_is_absolute(self):
        path = self.write("")
        with Host(self.folder, "--path", os.path.relpath(path)) as host:
            self.assertEqual(os.path.realpath(host.lines[3]), os.path.realpath(path))
            self.assertTrue(os.path.isabs(host.lines[3]))

    def test_what_makes_no_sense_is_refused(self):
        for options, reason in ((["--unknown"], "--unknown"), (["--http-port", "65536"], "--http-port"), (["--number", "10"], "--number"),
                                (["--text", "12345678"], "text"), (["--log-level", "2"], "--log-level"), (["--www", "/nonexistent"], "--www"), (["--path", "/nonexistent"], "--path"),
                                (["--config", "/nonexistent"], "/nonexistent"), (["--config", self.write("colour = 3\n")], "colour"),
                                (["--config", self.write("number = 11\n")], "number"), (["--http-port", "0"], "both ports are switched off")):
            with self.subTest(options):
                code, output, complaint = self.fails(*options)
                self.assertEqual((code, output), (64, ""))
                self.assertIn(reason, complaint)
        self.assertFalse(os.path.exists(self.folder))

    def test_help_and_version(self):
        code, output, complaint = self.fails("--help")
        self.assertEqual((code, complaint), (0, ""))
        for name in ("--http-port", "--https-port", "--data-dir", "--www", "--no-auth", "--log-level", "--config", "--number", "--flag", "--text", "--path"):
            self.assertIn(name, output)
        self.assertEqual(self.fails("--version"), (0, "1.2.3\n", ""))

    def test_a_second_process_does_not_get_the_folder(self):
        with Host(self.folder) as host:
            self.assertEqual(self.fails(), (3, "", f"{self.folder} is in use by another device (process {host.process.pid})\n"))
            host.process.kill()
            host.process.wait(PATIENCE)
        with Host(self.folder) as host:
            self.assertEqual(host.lines[-1], "ready")

    def test_a_port_that_is_taken(self):
        with Host(self.folder) as host:
            code, output, complaint = self.fails("--http-port", str(host.port), folder=self.temporary.name + "/other")
            self.assertEqual((code, output.split("\n")[-2:]), (2, ["stopped", ""]))
            self.assertIn(f"port {host.port} is already in use\n", complaint)

    def test_a_folder_that_cannot_be_used(self):
        pathlib.Path(self.folder).write_text("a file")
        code, output, complaint = self.fails()
        self.assertEqual((code, output), (1, ""))
        self.assertIn(self.folder, complaint)

    def test_a_program_that_fails_at_its_start_is_ended_in_order(self):
        port = str(free_port())
        code, output, _ = self.fails("--failing", "prepare")
        self.assertEqual((code, output.split("\n")[-2:]), (1, ["stopped", ""]))
        code, output, _ = self.fails("--failing", "started", "--http-port", port)
        self.assertEqual((code, output.split("\n")[-4:]), (1, ["started", "stopping", "stopped", ""]))

    def test_each_signal_and_the_program_itself_end_it(self):
        for ending in (signal.SIGTERM, signal.SIGINT):
            with Host(self.folder) as host:
                self.assertEqual(host.end(ending), (0, ["stopping", "stopped"], ""))
        with Host(self.folder, "--no-auth") as host:
            self.assertTrue(host.ask(get("/stop")).endswith(b"\r\n\r\n{}"))
            code, rest, _ = host.end()
            self.assertEqual((code, rest), (0, ["stopping", "stopped"]))
            self.assertRegex(host.log("errors.log"), r" A host: asked to stop\?by a client\n")

    def test_a_second_signal_ends_a_stop_that_hangs(self):
        with Host(self.folder, "--failing", "stopping") as host:
            host.process.send_signal(signal.SIGTERM)
            self.assertEqual(host.process.stdout.readline(), "stopping\n")
            self.assertEqual(host.end(signal.SIGTERM)[0], 128 + signal.SIGTERM)

    def test_a_stop_that_hangs_has_an_end(self):
        with Host(self.folder, "--failing", "stopping") as host:
            code, _, complaint = host.end(signal.SIGINT)
            self.assertEqual(code, 4)
            self.assertRegex(complaint, r" E runner: the device did not stop in time and was ended\n$")

    def test_a_service_manager_is_told(self):
        for name in (self.temporary.name + "/notify", f"@sdkapi-{os.getpid()}"):
            with self.subTest(name), manager(name) as (receiver, environment), Host(self.folder, environment=environment) as host:
                self.assertEqual(receiver.recv(100), b"READY=1\nSTATUS=listening")
                self.assertEqual([receiver.recv(100) for _ in range(3)], [b"WATCHDOG=1"] * 3)
                host.process.send_signal(signal.SIGTERM)
                last = next(message for message in iter(lambda: receiver.recv(100), b"") if message != b"WATCHDOG=1")
                self.assertEqual(last, b"STOPPING=1")

    def test_a_device_that_is_not_well_gives_no_sign_of_life(self):
        with manager(self.temporary.name + "/notify") as (receiver, environment):
            with Host(self.folder, "--failing", "healthy", environment=environment) as host:
                self.assertEqual(receiver.recv(100), b"READY=1\nSTATUS=listening")
                host.end(signal.SIGTERM)
            self.assertEqual(receiver.recv(100), b"STOPPING=1")

    def test_another_process_that_is_watched_gets_no_signs_of_life_from_here(self):
        with manager(self.temporary.name + "/notify") as (receiver, environment):
            with Host(self.folder, environment={**environment, "WATCHDOG_PID": "1"}) as host:
                self.assertEqual(receiver.recv(100), b"READY=1\nSTATUS=listening")
                host.end(signal.SIGTERM)
            self.assertEqual(receiver.recv(100), b"STOPPING=1")

    def test_moved_log_files_are_opened_anew(self):
        with Host(self.folder) as host:
            log = host.folder / "log" / "device.log"
            log.rename(log.with_suffix(".old"))
            host.process.send_signal(signal.SIGHUP)
            wait_until(lambda: log.exists() and "opened anew" in log.read_text())
            self.assertEqual(host.end(signal.SIGTERM)[0], 0)
            self.assertRegex(log.read_text(), r" I runner: stopped\n$")

    def test_the_log_has_whole_lines_and_no_secret(self):
        with Host(self.folder) as host:
            self.assertIn(b"S3cret-token", host.ask(b"POST /api/v1/auth/login HTTP/1.1\r\nHost: a\r\nConnection: close\r\n"
                                                    b"Content-Length: 2\r\n\r\n{}"))
            host.ask(get("/getTxRxList"))
            host.ask(get("/upload/edid", token="a\\n2026-01-01 E server: forged"))
            self.assertEqual(host.end(signal.SIGTERM)[0], 0)
            for name in ("device.log", "errors.log"):
                self.assertNotIn("S3cret", host.log(name))
                for line in host.log(name).split("\n")[:-1]:
                    self.assertIsNotNone(LINE.fullmatch(line), line)
            self.assertRegex(host.log(), r" I library: req http token \*\*\* \[")
            self.assertRegex(host.log("errors.log"), r" E library: GetLoginHandle err \*\*\*!!!! \[")

    def test_a_flood_of_refusals_leaves_a_few_lines_in_the_lasting_file(self):
        with Host(self.folder) as host:
            for _ in range(150):
                host.ask(get("/dev_info", token="nobody"))
            self.assertEqual(host.end(signal.SIGTERM)[0], 0)
            self.assertEqual(host.log().count("token err!!!!"), 150)
            self.assertEqual(host.log("errors.log").count("token err!!!!"), 100)

    def test_files_are_for_this_user_alone(self):
        with Host(self.folder) as host:
            for path in [host.folder, *host.folder.rglob("*")]:
                self.assertEqual(path.stat().st_mode & 0o077, 0, path)


unittest.main()
