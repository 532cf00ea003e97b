#!/usr/bin/python3
"""The front door: what goes wrong is one clear line, said before anything else happens.

usage: dev_test.py [TEST...], in the repository's root
"""
import os
import pathlib
import re
import shutil
import socket
import subprocess
import tempfile
import unittest

from program import free_port

SOURCES = pathlib.Path(__file__).resolve().parents[2]
NOBODY = 65534
SMALL_PROJECT = "cmake_minimum_required(VERSION 3.25)\nproject(small C)\n"


class FrontDoor(unittest.TestCase):
    """A copy of what is tracked, so that it has no build folder yet."""

    def setUp(self):
        holder = tempfile.TemporaryDirectory()
        self.addCleanup(holder.cleanup)
        self.top = pathlib.Path(holder.name) / "copy"
        self.tools = pathlib.Path(holder.name) / "tools"
        pathlib.Path(holder.name).chmod(0o755)
        self.tools.mkdir()
        for name in ("dev", "scripts", "cmake", "src", "include", "examples", "CMakeLists.txt", "CMakePresets.json", "packaging"):
            copy = shutil.copytree if (SOURCES / name).is_dir() else shutil.copy
            self.top.mkdir(exist_ok=True)
            copy(SOURCES / name, self.top / name)
        self.environment = {**os.environ, "PATH": f"{self.tools}:{os.environ['PATH']}"}
        self.environment.pop("SDKAPI_CIVETWEB_SOURCE", None)

    def dev(self, *arguments, prefix=(), **more):
        return subprocess.run([*prefix, "./dev", *arguments], cwd=self.top, env=self.environment, capture_output=True, text=True,
                              check=False, timeout=300, **more)

    def assert_one_line(self, done, pattern, code=1):
        self.assertEqual(done.returncode, code, done)
        self.assertRegex(done.stderr, f"^{pattern}\n$")

    def assert_nothing_happened(self, done):
        self.assertEqual(done.stdout, "")
        self.assertFalse((self.top / "build").exists())

    def tool(self, name, text):
        (self.tools / name).write_text("#!/bin/sh\n" + text)
        (self.tools / name).chmod(0o755)

    def need(self, *packages):
        sections = re.findall(r"^\[.*\]$", (SOURCES / "scripts/packages.txt").read_text(), re.M)
        (self.top / "scripts/packages.txt").write_text("\n".join(["[build]", *packages, *sections]) + "\n")

    def test_bad_arguments(self):
        presets = "there are: release simulator debug asan tsan arm64"
        for arguments, line in (
                (["build", "fast"], rf"dev: unknown preset 'fast'; {presets}"),
                (["build", "--help"], rf"dev: unknown preset '--help'; {presets}"),
                (["test", "--preset", "fast"], rf"test: unknown preset 'fast'; {presets}"),
                (["test", "--preset"], r"test: --preset needs a value \(see ./dev test --help\)"),
                (["test", "--only"], r"test: --only needs a value \(see ./dev test --help\)"),
                (["test", "--fast"], r"test: unknown option '--fast' \(see ./dev test --help\)"),
                (["test", "--arch", "mips"], r"test: unknown architecture 'mips'"),
                (["setup", "everything"], r"setup: unknown section 'everything' \(see scripts/packages.txt\)"),
                (["fly"], r"dev: unknown command 'fly' \(see ./dev help\)")):
            with self.subTest(arguments):
                done = self.dev(*arguments)
                self.assert_one_line(done, line)
                self.assert_nothing_happened(done)

    def test_a_taken_port_is_said_first(self):
        for family, address in ((socket.AF_INET, "0.0.0.0"), (socket.AF_INET, "127.0.0.1"), (socket.AF_INET6, "::1")):
            with socket.socket(family) as taken:
                taken.bind((address, 0))
                taken.listen()
                port, free = str(taken.getsockname()[1]), str(free_port())
                for arguments in (["--http-port", port, "--https-port", free], [f"--http-port={free}", "--no-auth", f"--https-port={port}"]):
                    with self.subTest(address=address, arguments=arguments):
                        done = self.dev("run", *arguments)
                        self.assert_one_line(done, f"port {port} is already in use", 2)
                        self.assert_nothing_happened(done)

    @unittest.skipIf(os.geteuid() != 0, "only root can become somebody else")
    def test_without_rights(self):
        self.environment["PATH"] = str(self.tools)
        for folder in ("/usr/sbin", "/usr/bin"):
            for program in os.listdir(folder):
                if program != "sudo" and not (self.tools / program).exists():
                    (self.tools / program).symlink_to(f"{folder}/{program}")
        self.need("a-missing-package", "g++", "another-one")
        done = self.dev("run", "--http-port", str(free_port()), "--https-port", "0", user=NOBODY, group=NOBODY, extra_groups=[])
        self.assert_one_line(done, "setup: packages are missing, and this is neither root nor is there sudo. As root: "
                             "apt-get update && apt-get install -y --no-install-recommends a-missing-package another-one")
        self.assert_nothing_happened(done)

    def test_no_mirror_answers(self):
        self.need("a-missing-package")
        self.tool("sudo", 'exec "$@"\n')
        self.tool("dpkg", 'exit 0\n')
        for folder in ("state/lists/partial", "cache/archives/partial"):
            (self.tools / folder).mkdir(parents=True)
        (self.tools / "state/status").write_text("")
        (self.tools / "sources.list").write_text("".join(f"deb http://127.0.0.1:1/{name} stable main\n" for name in range(20)))
        (self.tools / "apt.conf").write_text(
            f'Dir::Etc::sourcelist "{self.tools}/sources.list";\nDir::Etc::sourceparts "/dev/null";\nDir::State "{self.tools}/state";\n'
            f'Dir::State::status "{self.tools}/state/status";\nDir::Cache "{self.tools}/cache";\nDebug::NoLocking "true";\n'
            'Acquire::http::Proxy "DIRECT";\nAPT::Sandbox::User "";\n')
        self.environment["APT_CONFIG"] = str(self.tools / "apt.conf")
        for command in ("run", "test"):
            with self.subTest(command):
                done = self.dev(command, *([] if command == "test" else ["--http-port", str(free_port()), "--https-port", "0"]))
                self.assert_one_line(done, r"setup: the packages cannot be installed: .*127\.0\.0\.1.*[Cc]onnect.*")
                self.assertFalse((self.top / "build").exists())

    def test_no_source_for_civetweb(self):
        self.need()
        self.environment["SDKAPI_CIVETWEB_SOURCE"] = "/nowhere/civetweb.tar.xz"
        done = self.dev("build", "simulator")
        self.assert_one_line(done, "civetweb: cp: cannot stat '/nowhere/civetweb.tar.xz': No such file or directory")
        self.assertNotIn("CMake", done.stdout)

    @unittest.skipIf(os.geteuid() != 0, "only root can mount a small disk")
    def test_no_disk_space(self):
        self.need()
        (self.top / "CMakeLists.txt").write_text(SMALL_PROJECT)
        (self.top / "build").mkdir()
        small = ["unshare", "--mount", "sh", "-c", 'mount -t tmpfs -o size=80k tmpfs build && exec "$@"', "sh"]
        self.assert_one_line(self.dev("build", "release", prefix=small), "dev: no disk space left in build")

    @unittest.skipUnless(shutil.which("npm"), "npm is not installed")
    def test_no_npm_registry(self):
        environment = {**self.environment, "npm_config_registry": "http://127.0.0.1:1/", "npm_config_cache": str(self.tools / "npm"),
                       "npm_config_noproxy": "127.0.0.1"}
        command = ["node", SOURCES / "tests/api/run.mjs", "openapi", SOURCES, self.tools / "output"]
        for _ in range(2):
            done = subprocess.run(command, env=environment, capture_output=True, text=True, check=False, timeout=300)
            self.assertEqual(done.returncode, 1, done)
            self.assertEqual(done.stdout + done.stderr,
                             "npm ci: the packages of tests/api/package-lock.json cannot be had from npm's registry (ECONNREFUSED)\n")


unittest.main()
