#!/usr/bin/python3
"""The installed command line, with an installed device.

usage: installed_test.py DEVICE COMMAND (each as one argument, for instance "chroot ROOT sdkapi")
"""
import os
import subprocess
import sys

from program import free_port, wait_for, wait_for_route


def main():
    os.environ["SDKAPI_PROGRAM"] = sys.argv[2]
    from support import CommandLine

    port = free_port()
    with CommandLine(f"http://127.0.0.1:{port}") as line:
        command = [*sys.argv[1].split(), "--http-port", str(port), "--https-port", "0", "--data-dir", str(line.home / "device"),
                   "--first-password", "admin"]
        with subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL) as device:
            try:
                wait_for(port, device)
                wait_for_route(port, "/metrics", device)
                line.log_in()
                assert line.value("info")["model"] == "SIM-8X8"
                assert len(line.value("units")) == 8
                assert "0 musts and 0 shoulds broken" in line.run("check", f"http://127.0.0.1:{port}", "--write", SDKAPI_PASSWORD="admin").stderr
                line.ok("logout")
            finally:
                device.terminate()
    print("the installed command line works")


main()
