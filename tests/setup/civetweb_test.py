#!/usr/bin/python3
"""The command that fetches, verifies and patches CivetWeb: what it refuses, and that it leaves nothing half-made.

usage: civetweb_test.py [TEST...], in the repository's root
"""
import functools
import hashlib
import http.server
import os
import pathlib
import re
import resource
import shutil
import signal
import subprocess
import tempfile
import threading
import time
import unittest

SOURCES = pathlib.Path(__file__).resolve().parents[2]
KEPT = SOURCES / "build/deps/civetweb/archive"
BEFORE, AFTER = "one\ntwo\nthree\n", "one\nzwei\nthree\n"
PATCH = """Description: Say it in German
 For a test.
Forwarded: no
Test: tests/setup/civetweb_test.py
---
--- a/src/a.c
+++ b/src/a.c
@@ -1,3 +1,3 @@
 one
-two
+zwei
 three
"""
ARCHIVE = "pool/main/c/civetweb/civetweb_1.16.orig.tar.xz"


class Place(unittest.TestCase):
    """A folder with the command, a small archive, its pin and one patch; and an apt whose only mirror is on loopback."""

    def setUp(self):
        holder = tempfile.TemporaryDirectory()
        self.addCleanup(holder.cleanup)
        self.top = pathlib.Path(holder.name)
        self.top.chmod(0o755)
        for folder in ("scripts", "cmake/civetweb/patches", "mirror/" + os.path.dirname(ARCHIVE), "upstream/civetweb-1.16/src"):
            (self.top / folder).mkdir(parents=True)
        shutil.copy(SOURCES / "scripts/civetweb", self.top / "scripts")
        (self.top / "upstream/civetweb-1.16/src/a.c").write_text(BEFORE)
        (self.top / "upstream/civetweb-1.16/include").mkdir()
        (self.top / "upstream/civetweb-1.16/include/civetweb.h").write_text("#define CIVETWEB_VERSION\n")
        (self.top / "upstream/civetweb-1.16/LICENSE.md").write_text("A licence.\n")
        self.file = self.top / "mirror" / ARCHIVE
        subprocess.run(["tar", "-cJf", self.file, "-C", self.top / "upstream", "civetweb-1.16"], check=True)
        self.hash = hashlib.sha256(self.file.read_bytes()).hexdigest()
        self.pin(self.hash)
        self.patch = self.top / "cmake/civetweb/patches/01-german.patch"
        self.patch.write_text(PATCH)
        self.environment = {"PATH": os.environ["PATH"], "HOME": str(self.top), "APT_CONFIG": str(self.top / "apt.conf")}
        self.serve_mirror()

    def pin(self, checksum):
        (self.top / "cmake/civetweb/pin").write_text(f"version 1.16\nfile {ARCHIVE}\nsha256 {checksum}\n")

    def serve_mirror(self):
        handler = functools.partial(Silent, directory=self.top / "mirror")
        server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), handler)
        self.addCleanup(server.server_close)
        self.addCleanup(server.shutdown)
        threading.Thread(target=server.serve_forever, daemon=True).start()
        self.use_mirror(server.server_address[1])

    def use_mirror(self, port):
        (self.top / "sources.list").write_text(f"deb http://127.0.0.1:{port} stable main\n")
        (self.top / "apt.conf").write_text(f'Dir::Etc::sourcelist "{self.top}/sources.list";\nDir::Etc::sourceparts "/dev/null";\n'
                                           'Acquire::http::Proxy "DIRECT";\n')

    def run_it(self, *arguments, prefix=(), **more):
        return subprocess.run([*prefix, "scripts/civetweb", *arguments], cwd=self.top, env=self.environment, capture_output=True,
                              text=True, check=False, timeout=120, **more)

    def prepare(self, **more):
        return self.run_it("--prepare", "deps", **more)

    def source(self, folder="deps"):
        return (self.top / folder / "source/src/a.c").read_text()

    def assert_refused(self, done, words):
        self.assertEqual(done.returncode, 1, done)
        self.assertEqual(done.stderr.count("\n"), 1, done.stderr)
        self.assertRegex(done.stderr, "^civetweb: " + words)
        self.assertFalse((self.top / "deps/prepared").exists())
        self.assertFalse((self.top / "deps/source").exists())
        self.assertEqual(list(self.top.glob("deps/unfinished.*")), [])

    def assert_goes_on(self):
        done = self.prepare()
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertEqual(self.source(), AFTER)


class Silent(http.server.SimpleHTTPRequestHandler):
    """A mirror that keeps no log."""

    def log_message(self, *_):
        pass


class Obtaining(Place):
    """Where the archive comes from, and what is refused."""

    def test_from_the_mirror(self):
        done = self.prepare()
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, "civetweb: version 1.16, 1 patches\n", ""))
        self.assertEqual(self.source(), AFTER)

    def test_a_mirror_whose_file_differs(self):
        self.file.write_bytes(b"something else")
        found = hashlib.sha256(b"something else").hexdigest()
        self.assert_refused(self.prepare(), rf".*has SHA-256 {found}, the pin says {self.hash}.*SDKAPI_CIVETWEB_SOURCE=FILE$")

    def test_a_mirror_without_the_file(self):
        kept = self.file.rename(self.top / "kept")
        self.assert_refused(self.prepare(), r"civetweb_1.16.orig.tar.xz cannot be had from this machine's mirrors \(.*404.*\); set SDKAPI_CIVETWEB_SOURCE=FILE$")
        kept.rename(self.file)
        self.assert_goes_on()

    def test_no_network(self):
        self.use_mirror(1)
        self.assert_refused(self.prepare(), r"civetweb_1.16.orig.tar.xz cannot be had .*\(.*[Cc]onnect.*\); set SDKAPI_CIVETWEB_SOURCE=FILE$")

    def test_no_mirror(self):
        (self.top / "sources.list").write_text("")
        self.assert_refused(self.prepare(), r".*apt names no mirror.*set SDKAPI_CIVETWEB_SOURCE=FILE$")

    def test_a_second_mirror_helps(self):
        text = (self.top / "sources.list").read_text()
        (self.top / "sources.list").write_text("deb http://127.0.0.1:1 stable main\n" + text)
        self.assert_goes_on()

    def test_a_file_instead_of_the_mirror(self):
        self.use_mirror(1)
        self.environment["SDKAPI_CIVETWEB_SOURCE"] = str(self.file)
        self.assert_goes_on()

    def test_a_file_that_differs(self):
        other = self.top / "other"
        other.write_bytes(b"x")
        self.environment["SDKAPI_CIVETWEB_SOURCE"] = str(other)
        found = hashlib.sha256(b"x").hexdigest()
        self.assert_refused(self.prepare(), rf"{other} has SHA-256 {found}, the pin says {self.hash}: nothing is built from it$")

    def test_a_missing_file(self):
        self.environment["SDKAPI_CIVETWEB_SOURCE"] = str(self.top / "nowhere")
        self.assert_refused(self.prepare(), r".*nowhere.*No such file")

    def test_a_kept_archive_needs_no_network(self):
        self.assert_goes_on()
        self.use_mirror(1)
        self.patch.write_text(PATCH.replace("zwei", "deux"))
        self.assertEqual(self.prepare().returncode, 0)
        self.assertEqual(self.source(), AFTER.replace("zwei", "deux"))

    def test_a_kept_archive_that_was_changed_is_fetched_again(self):
        self.assert_goes_on()
        (self.top / "deps/archive").write_bytes(b"x")
        self.patch.write_text(PATCH.replace("For a test", "For a second test"))
        self.assert_goes_on()

    @unittest.skipIf(os.geteuid() != 0, "only root can become somebody else")
    def test_without_root(self):
        self.top.chmod(0o777)
        self.assertEqual(self.prepare(user=65534, group=65534, extra_groups=[]).stderr, "")
        self.assertEqual(self.source(), AFTER)


class Patching(Place):
    """Exactly, all or none, and the same everywhere."""

    def test_the_same_in_two_folders(self):
        for folder in ("deps", "elsewhere/deeper"):
            self.assertEqual(self.run_it("--prepare", folder).returncode, 0)
        subprocess.run(["diff", "-r", "deps/source", "elsewhere/deeper/source"], cwd=self.top, check=True)

    def test_a_patch_that_does_not_apply(self):
        for wrong in (PATCH.replace("-two", "-five"), PATCH.replace("@@ -1,3 +1,3 @@", "@@ -2,3 +2,3 @@"), PATCH.replace("src/a.c", "src/b.c"),
                      PATCH.replace(" three\n", "")):
            with self.subTest(wrong):
                self.patch.write_text(wrong)
                self.assert_refused(self.prepare(), "01-german.patch does not apply: .")
        self.patch.write_text(PATCH)
        self.assert_goes_on()

    def test_the_second_of_two_does_not_apply(self):
        (self.top / "cmake/civetweb/patches/02-again.patch").write_text(PATCH)
        self.assert_refused(self.prepare(), "02-again.patch does not apply: .")

    def test_an_old_source_is_not_trusted_after_a_failure(self):
        self.assert_goes_on()
        self.patch.write_text(PATCH.replace("-two", "-five"))
        self.assertEqual(self.prepare().returncode, 1)
        self.assertEqual(self.prepare().returncode, 1)

    def test_two_at_once(self):
        runs = [subprocess.Popen(["scripts/civetweb", "--prepare", "deps"], cwd=self.top, env=self.environment, stdout=subprocess.DEVNULL)
                for _ in range(4)]
        self.assertEqual([run.wait(120) for run in runs], [0] * 4)
        self.assertEqual(sorted(path.name for path in (self.top / "deps").iterdir()), ["archive", "lock", "prepared", "source"])
        self.assertEqual(self.source(), AFTER)

    def test_what_edit_unpacks_export_writes(self):
        self.assertEqual(self.run_it("--edit", "edited").returncode, 0)
        self.assertEqual((self.top / "edited/src/a.c").read_text(), AFTER)
        self.assertEqual(self.run_it("--export", "edited").returncode, 0)
        self.assertEqual(self.patch.read_text(), PATCH.replace("@@ -1,3", "@@ -1,3"))

    def test_an_export_with_a_wrong_name_changes_nothing(self):
        self.run_it("--edit", "edited")
        subprocess.run(["git", "-c", "user.name=a", "-c", "user.email=a@b", "commit", "-q", "--allow-empty", "-m", "A change"],
                       cwd=self.top / "edited", check=True)
        done = self.run_it("--export", "edited")
        self.assertRegex(done.stderr, "^civetweb: a commit's subject is the patch's name, NN-name, not 'A change'\n$")
        self.assertEqual(self.patch.read_text(), PATCH)


class Interrupting(Place):
    """A run that ends early leaves nothing that a later one trusts."""

    def end_early(self, sent):
        """Ends a run while it waits for its mirror."""
        with Stalled() as mirror:
            self.use_mirror(mirror.port)
            run = subprocess.Popen(["scripts/civetweb", "--prepare", "deps"], cwd=self.top, env=self.environment, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL, start_new_session=True, preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL))
            self.assertTrue(mirror.asked.wait(60))
            os.killpg(run.pid, sent)
            self.assertNotEqual(run.wait(60), 0)
        self.assertFalse((self.top / "deps/prepared").exists())
        self.assertFalse((self.top / "deps/source").exists())
        self.serve_mirror()

    def test_ctrl_c(self):
        self.end_early(signal.SIGINT)
        self.assertEqual(list(self.top.glob("deps/unfinished.*")), [])
        self.assert_goes_on()

    def test_killed(self):
        self.end_early(signal.SIGKILL)
        self.assert_goes_on()
        self.assertEqual(list(self.top.glob("deps/unfinished.*")), [])

    def test_killed_before_the_last_step(self):
        self.assert_goes_on()
        (self.top / "deps/prepared").unlink()
        (self.top / "deps/source/src/a.c").write_text("half")
        self.assert_goes_on()

    def test_files_may_not_grow(self):
        (self.top / "upstream/civetweb-1.16/src/large.c").write_text("/* large */\n" * 100000)
        subprocess.run(["tar", "-cJf", self.file, "-C", self.top / "upstream", "civetweb-1.16"], check=True)
        self.pin(hashlib.sha256(self.file.read_bytes()).hexdigest())
        self.assert_refused(self.prepare(preexec_fn=limit_files), "the archive cannot be unpacked: .")
        self.assert_goes_on()

    @unittest.skipIf(os.geteuid() != 0, "only root can mount a small disk")
    def test_no_disk_space(self):
        (self.top / "upstream/civetweb-1.16/src/large.c").write_text("/* large */\n" * 100000)
        subprocess.run(["tar", "-cJf", self.file, "-C", self.top / "upstream", "civetweb-1.16"], check=True)
        self.pin(hashlib.sha256(self.file.read_bytes()).hexdigest())
        (self.top / "deps").mkdir()
        small = ["unshare", "--mount", "sh", "-c", 'mount -t tmpfs -o size=512k tmpfs deps && "$@"; code=$?; ls deps; exit $code', "sh"]
        done = self.prepare(prefix=small)
        self.assert_refused(done, "the archive cannot be unpacked: .*No space left on device$")
        self.assertEqual(done.stdout.split(), ["lock"])
        self.assert_goes_on()


def limit_files():
    resource.setrlimit(resource.RLIMIT_FSIZE, (200000, 200000))
    signal.signal(signal.SIGXFSZ, signal.SIG_IGN)


class Stalled(http.server.ThreadingHTTPServer):
    """A mirror that takes a request and never answers."""

    def __init__(self):
        self.asked, self.over = threading.Event(), threading.Event()

        class Handler(Silent):
            def do_GET(handler):
                self.asked.set()
                self.over.wait(120)

        super().__init__(("127.0.0.1", 0), Handler)
        self.port = self.server_address[1]
        threading.Thread(target=self.serve_forever, daemon=True).start()

    def __exit__(self, *_):
        self.over.set()
        self.shutdown()
        self.server_close()


class Series(unittest.TestCase):
    """The patches as they are committed."""

    PATCHES = sorted((SOURCES / "cmake/civetweb/patches").glob("*.patch"))

    def test_each_has_a_reason_and_a_test(self):
        for patch in self.PATCHES:
            with self.subTest(patch.name):
                head = patch.read_text().partition("\n---\n")[0]
                self.assertRegex(patch.name, r"^\d\d-[a-z0-9-]+\.patch$")
                self.assertRegex(head, r"^Description: .+\n .+")
                self.assertRegex(head, r"(?m)^Forwarded: (no|yes|not-needed|https?://\S+)")
                tests = re.search(r"(?m)^Test: (.+)$", head)
                self.assertTrue(tests, "no test")
                for name in re.split(r",? +", tests.group(1)):
                    self.assertTrue((SOURCES / name).is_file(), name)

    def test_each_change_has_one_line_of_context_at_most(self):
        for patch in self.PATCHES:
            body = re.sub(r"(?m)^--- .*\n\+\+\+ .*\n", "", patch.read_text().partition("\n---\n")[2])
            for hunk in re.split(r"(?m)^@@ .*\n", body)[1:]:
                with self.subTest(patch.name, hunk=hunk):
                    kinds = "".join(line[0] if line[:1] in ("+", "-") else " " for line in hunk.splitlines())
                    # Between two changes each has its own line.
                    self.assertRegex(kinds, r"^ ?[+-]+( {1,2}[+-]+)* ?$")

    def test_the_page_has_a_row_for_each(self):
        rows = re.findall(r"(?m)^\| `(\d\d-[a-z0-9-]+)` \|", (SOURCES / "docs/civetweb.md").read_text())
        self.assertEqual(rows, [patch.stem for patch in self.PATCHES])

    @unittest.skipUnless(KEPT.exists(), "the build keeps the archive there")
    def test_what_edit_unpacks_export_writes(self):
        with tempfile.TemporaryDirectory() as folder:
            for name in ("scripts", "cmake"):
                shutil.copytree(SOURCES / name, f"{folder}/{name}")
            environment = {**os.environ, "SDKAPI_CIVETWEB_SOURCE": str(KEPT)}
            for option in ("--edit", "--export"):
                subprocess.run(["scripts/civetweb", option, "edited"], cwd=folder, env=environment, check=True, stdout=subprocess.DEVNULL)
            subprocess.run(["diff", "-r", SOURCES / "cmake/civetweb/patches", f"{folder}/cmake/civetweb/patches"], check=True)


unittest.main()
