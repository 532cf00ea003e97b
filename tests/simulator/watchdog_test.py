#!/usr/bin/python3
"""A device that hangs gives its service manager no sign of life, although it still answers.

usage: watchdog_test.py SIMULATOR HANGING
"""
import os
import pathlib
import socket
import sys
import tempfile
import time

from device import Device, Reply, request

SIMULATOR, HANGING = sys.argv[1:]
PATIENCE = 120  # seconds
SILENCE = 3  # seconds; a sign is due every 20 ms
ALIVE = b"WATCHDOG=1"


def wait_for_silence(receiver):
    deadline = time.monotonic() + PATIENCE
    receiver.settimeout(SILENCE)
    try:
        while time.monotonic() < deadline:
            assert receiver.recv(100) == ALIVE
    except TimeoutError:
        return
    raise AssertionError("a device that hangs says that it is alive")


def expect_alive(receiver):
    receiver.settimeout(PATIENCE)
    for _ in range(3):
        assert receiver.recv(100) == ALIVE


def answers(device):
    return Reply(device.exchange(request("get", "/dev_info", device.token()))).status == 200


def main():
    with tempfile.TemporaryDirectory() as name, socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as receiver:
        folder = pathlib.Path(name)
        receiver.bind(str(folder / "notify"))
        receiver.settimeout(PATIENCE)
        environment = os.environ | {"NOTIFY_SOCKET": str(folder / "notify"), "WATCHDOG_USEC": "40000", "LD_PRELOAD": HANGING, "SDKAPI_HANGS": str(folder / "hangs")}
        with Device(SIMULATOR, environment=environment) as device:
            assert receiver.recv(100) == b"READY=1\nSTATUS=listening"
            expect_alive(receiver)
            (folder / "hangs").touch()
            wait_for_silence(receiver)
            assert answers(device)
            (folder / "hangs").unlink()
            expect_alive(receiver)
    print("a device that hangs gives no sign of life")


main()
