#!/usr/bin/python3
"""The ten steps from an empty folder to a device: run as they stand, they make the minimal host on the kit and print what the page says.

usage: ten_steps.py BUILD, in the repository's root
"""
import os
import pathlib
import re
import subprocess
import sys
import tempfile

from program import free_port


def main():
    page = pathlib.Path("docs/kit/ten-steps.md").read_text()
    blocks = {language: re.findall(rf"^```{language}\n(.*?)^```$", page, re.S | re.M) for language in ("c", "sh", "text")}
    program = "\n".join(blocks["c"])
    assert len(re.findall(r"^\*\*\d+\. ", page, re.M)) == 10
    assert program == pathlib.Path("examples/kit_minimal/kit_minimal.c").read_text(), "the page is another program than the example"
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run(["cmake", "--install", sys.argv[1], "--prefix", folder + "/tree"], check=True, stdout=subprocess.DEVNULL)
        package = next(pathlib.Path(folder).glob("tree/**/sdkapi-kit.pc"))
        environment = {**os.environ, "PKG_CONFIG_PATH": str(package.parent)}
        environment.pop("LD_LIBRARY_PATH", None)
        pathlib.Path(folder, "device.c").write_text(program)
        script = "".join(blocks["sh"]).replace("8080", str(free_port())).replace("cd device\n", "cd device\ncp ../device.c .\n")
        # A failing command must not leave the host running.
        done = subprocess.run(["bash", "-euc", "trap 'kill $(jobs -p) 2>/dev/null || true' EXIT\n" + script], cwd=folder,
                              env=environment, capture_output=True, text=True, timeout=120, check=False)
        assert done.returncode == 0, done
        assert done.stdout == "".join(blocks["text"]), done.stdout


main()
