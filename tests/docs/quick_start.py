#!/usr/bin/python3
"""The guide's quick start: its commands, run as they stand against an installed tree, print what the guide says.

usage: quick_start.py BUILD, in the repository's root
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

from program import free_port


def main():
    page = pathlib.Path("docs/host-guide.md").read_text()
    section = re.search(r"## Quick start\n(.*?)\n## ", page, re.S).group(1)
    commands = re.search(r"```sh\n(.*?)```", section, re.S).group(1)
    promised = re.findall(r"`(\{.*?\})`", re.search(r"The two requests print.*", section).group(0))
    assert len(promised) == 2, promised
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run(["cmake", "--install", sys.argv[1], "--prefix", folder + "/tree"], check=True, stdout=subprocess.DEVNULL)
        shutil.copy("examples/minimal/minimal.c", folder)
        package = next(pathlib.Path(folder).glob("tree/**/sdkapi.pc"))
        environment = {**os.environ, "PKG_CONFIG_PATH": str(package.parent)}
        environment.pop("LD_LIBRARY_PATH", None)
        port = str(free_port())
        script = commands.replace("localhost:8080", "127.0.0.1:" + port).replace("minimal 8080", "minimal " + port)
        script = script.replace("curl -H", "curl -sS -w '\\n' -H")
        # A failing command must not leave the host running.
        done = subprocess.run(["bash", "-euc", "trap 'kill $(jobs -p) 2>/dev/null || true' EXIT\n" + script], cwd=folder,
                              env=environment, capture_output=True, text=True, timeout=120, check=False)
        assert done.returncode == 0, done
        assert done.stdout.split() == promised, done.stdout


main()
