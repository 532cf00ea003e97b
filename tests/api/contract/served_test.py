#!/usr/bin/python3
"""The device serves its descriptions, its API page and the client package, from the checkout and installed.

usage: served_test.py SIMULATOR BUILD
"""
import pathlib
import subprocess
import sys
import tempfile

from device import Device, Reply, request, shared

SERVED = {"/api/openapi.yaml": "docs/api/openapi.yaml", "/api/asyncapi.yaml": "docs/api/asyncapi.yaml",
          "/api/": "examples/simulator/www/api/index.html", "/index.html": "examples/simulator/www/index.html"}


def served(build):
    """Paths, and the files that hold what they answer: the package as the build made it smaller, the rest as it was written."""
    made = pathlib.Path(build, "examples/simulator/www")
    package = {f"/sdkapi/{path.name}": path for path in sorted((made / "sdkapi").iterdir())}
    assert {"/sdkapi/index.js", "/sdkapi/preview.js", "/sdkapi/hub_worker.js"} <= set(package), package
    return {path: shared(file) for path, file in SERVED.items()} | package


def check(device, files):
    for path, file in files.items():
        reply = Reply(device.exchange(request("get", path, "")))
        assert reply.status == 200, (path, reply.raw[:200])
        assert reply.content() == file.read_bytes() != b"", path


def main():
    files = served(sys.argv[2])
    with Device(sys.argv[1]) as device:
        check(device, files)
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run(["cmake", "--install", sys.argv[2], "--prefix", folder, "--component", "simulator"], check=True,
                       stdout=subprocess.DEVNULL)
        www = pathlib.Path(folder, "share/sdkapi-simulator/www")
        links = [str(path) for path in www.rglob("*") if path.is_symlink()]
        assert not links, f"links to a checkout were installed: {links}"
        with Device(sys.argv[1], "--www", str(www), tls=True) as device:
            check(device, files)
    print(f"{len(files)} files are served, also when installed")


main()
