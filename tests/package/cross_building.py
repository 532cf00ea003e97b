#!/usr/bin/python3
"""The page on cross-building: its commands run as they stand, and what they build answers under emulation.

usage: cross_building.py PAGE PACKAGES WORK, with the folder of the packages and an empty one
"""
import pathlib
import re
import subprocess
import sys

from program import free_port

PAGE, PACKAGES, WORK = (pathlib.Path(argument).resolve() for argument in sys.argv[1:])


def blocks(language):
    return re.findall(rf"^```{language}\n(.*?)^```$", PAGE.read_text(), re.S | re.M)


def main():
    toolchain, project = blocks("cmake")
    (WORK / "aarch64.cmake").write_text(toolchain)
    (WORK / "CMakeLists.txt").write_text(project)
    (WORK / "minimal.c").write_bytes((PAGE.parents[1] / "examples/minimal/minimal.c").read_bytes())
    (WORK / "packages").symlink_to(PACKAGES)
    script = "\n".join(blocks("sh")).replace("8080", str(free_port()))
    assert script.count("./minimal ") == 1
    for program in ("./minimal", "build/host"):
        # What was built once need not be built again for the second program.
        part = script if program == "./minimal" else script[script.index("qemu-"):].replace("./minimal", program)
        done = subprocess.run(["bash", "-euc", "trap 'kill $(jobs -p) 2>/dev/null || true' EXIT\n" + part], cwd=WORK,
                              stdout=subprocess.PIPE, text=True, timeout=600, check=False)
        assert done.returncode == 0, done
        assert re.search(r'^\{"token":"[0-9a-f]{32}","firstlogin":0,"code":0\}$', done.stdout, re.M), done.stdout
    used = subprocess.run(["readelf", "-d", WORK / "minimal", WORK / "build/host"], stdout=subprocess.PIPE, text=True, check=True).stdout
    assert "RPATH" not in used and "RUNPATH" not in used, used
    print("hosts built in a sysroot answer")


main()
