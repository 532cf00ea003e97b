"""The command line in a home of its own, and what is expected of it."""
import json
import os
import pathlib
import subprocess
import sys
import tempfile

from device import shared

PASSWORD = "Correct-Horse-7"


class CommandLine:
    """Runs `sdkapi` as a user would, with files of its own."""

    def __init__(self, device=""):
        self.folder = tempfile.TemporaryDirectory()
        self.home = pathlib.Path(self.folder.name)
        program = os.environ.get("SDKAPI_PROGRAM")
        self.command = program.split() if program else [sys.executable, "-B", "-m", "sdkapi_cli"]
        self.environment = {"PATH": os.environ["PATH"], "HOME": str(self.home), "COLUMNS": "200", "LANG": "C.UTF-8", "PYTHONPATH": str(shared("tools"))}
        if device:
            self.environment["SDKAPI_DEVICE"] = device

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.folder.cleanup()

    def run(self, *arguments, typed="", **variables):
        return subprocess.run([*self.command, *arguments], input=typed, capture_output=True, text=True, timeout=120, cwd=self.home,
                              env=self.environment | variables, check=False)

    def ok(self, *arguments, typed="", **variables):
        """What the command prints."""
        done = self.run(*arguments, typed=typed, **variables)
        assert done.returncode == 0, (arguments, done.stderr, done.stdout[-600:])
        assert "Traceback" not in done.stderr, done.stderr
        return done.stdout

    def value(self, *arguments, typed="", **variables):
        """The same with --json, one value a line."""
        values = [json.loads(line) for line in self.ok(*arguments, "--json", typed=typed, **variables).splitlines()]
        return values[0] if len(values) == 1 else values

    def fails(self, code, text, *arguments, typed="", **variables):
        """The command ends with this code and says this."""
        done = self.run(*arguments, "--json", typed=typed, **variables)
        assert done.returncode == code, (arguments, done)
        error = json.loads(done.stderr.splitlines()[-1])
        assert set(error) == {"error", "advice", "status"} and text in error["error"] + "; " + error["advice"], (arguments, error)

    def log_in(self, password="admin", *options):
        self.ok("login", "--password-stdin", *options, typed=password + "\n")
