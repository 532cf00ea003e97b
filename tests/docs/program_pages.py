#!/usr/bin/python3
"""A page with a program: built and run as it stands against an installed tree, it prints what the page says.

usage: program_pages.py BUILD PAGE, in the repository's root; such as docs/extension/uploads.md
"""
import os
import pathlib
import re
import subprocess
import sys
import tempfile

from program import free_port


def block(page, language):
    """The page's one block of this language."""
    blocks = re.findall(rf"^```{language}\n(.*?)^```$", page, re.S | re.M)
    assert len(blocks) == 1, (language, len(blocks))
    return blocks[0]


def main():
    path = pathlib.Path(sys.argv[2])
    page = path.read_text()
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run(["cmake", "--install", sys.argv[1], "--prefix", folder + "/tree"], check=True, stdout=subprocess.DEVNULL)
        (pathlib.Path(folder) / f"{path.stem}.c").write_text(block(page, "c"))
        package = next(pathlib.Path(folder).glob("tree/**/sdkapi.pc"))
        environment = {**os.environ, "PKG_CONFIG_PATH": str(package.parent)}
        environment.pop("LD_LIBRARY_PATH", None)
        environment["PATH"] = f"{pathlib.Path('scripts').resolve()}:{environment['PATH']}"
        script = block(page, "sh").replace("8080", str(free_port())).replace("cc ", "cc -std=c11 -D_GNU_SOURCE -Wall -Wextra -Werror ", 1)
        # A failing command must not leave the host running.
        done = subprocess.run(["bash", "-euc", "trap 'kill $(jobs -p) 2>/dev/null || true' EXIT\n" + script], cwd=folder,
                              env=environment, capture_output=True, text=True, timeout=120, check=False)
        assert done.returncode == 0, done
        assert done.stdout == block(page, "text"), done.stdout


main()
