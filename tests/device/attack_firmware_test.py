#!/usr/bin/python3
"""Firmware that is not in order is refused with a reason in the log; firmware that does not work is taken back.

usage: attack_firmware_test.py SIMULATOR
"""
import json
import pathlib
import subprocess
import sys
import tempfile
import time

from channel import Channel
from attacks import log_of
from device import Device, Reply, form, request, shared
from files import firmware

PASSWORD = "Correct-Horse-7"
PATIENCE = 60
IMAGE = b"image" * 100


def get(device, path):
    return Reply(device.exchange(request("get", path, device.token())))


def post_json(device, path, **members):
    return Reply(device.exchange(request("post", path, device.token(), json.dumps(members).encode(), "application/json")))


def send(device, content, query="", token=None):
    body = form(content, "new.sdkfw")
    return Reply(device.exchange(request("post", f"/api/v1/fw_upload{query}", token or device.token(), *body)))


def version(device):
    return json.loads(get(device, "/sim/status").content())["version"]


def await_reboot(device):
    deadline = time.monotonic() + PATIENCE
    while get(device, "/dev_info").status != 200 or on_trial(device):
        assert time.monotonic() < deadline, "the device does not come back"
        time.sleep(0.1)


def on_trial(device):
    return (pathlib.Path(device.folder.name) / "firmware/trial").exists()


def with_head(container, change):
    """The container with another head, and the signature that it had."""
    magic, head, rest = container.split(b"\n", 2)
    return b"\n".join((magic, change(head), rest))


def attacks(foreign):
    """What each container is, the answer, and the reason in the log."""
    good = firmware("2.0.0", IMAGE)
    magic, head, signature, image = good.split(b"\n", 3)
    resized = with_head(good, lambda line: line.replace(b'"size": 500', b'"size": 501'))
    renamed = with_head(good, lambda line: line.replace(b"2.0.0", b"9.0.0"))
    return [
        ("an empty file", b"", 500, "it is shorter than it says"),
        ("a picture", b"\x89PNG\r\n\x1a\n" + bytes(1000), 406, "no firmware container"),
        ("a container without a signature", b"SDKFW1\n" + head + b"\n" + image, 406, "a container without a signature"),
        ("an empty signature", b"\n".join((magic, head, b"", image)), 406, "a wrong signature"),
        ("a signature of zeros", b"\n".join((magic, head, b"0" * 128, image)), 406, "a wrong signature"),
        ("a signature with a bit changed", b"\n".join((magic, head, (b"1" if signature[:1] == b"0" else b"0") + signature[1:], image)),
         406, "a wrong signature"),
        ("another maker's signature", foreign, 406, "a wrong signature"),
        ("another version under the same signature", renamed, 406, "a wrong signature"),
        ("another size under the same signature", resized, 406, "a wrong signature"),
        ("a head without an end", magic + b"\n" + b"x" * 100000, 406, "a head of more than 1024 bytes"),
        ("a deep head", b"\n".join((magic, b"[" * 500, b"0" * 128, image)), 406, "a wrong signature"),
        ("another image", good[:-1] + b"!", 406, "a wrong hash"),
        ("bytes behind the image", good + b"!", 406, "bytes behind the image"),
        ("an image that was cut", good[:-1], 500, "it is shorter than it says"),
        ("a head without its image", good[:-len(IMAGE)], 500, "it is shorter than it says"),
        ("another model's", firmware("2.0.0", IMAGE, "--model", "SIM-4X4"), 406, "made for another model"),
        ("an older version", firmware("0.9.9", IMAGE), 406, "version 0.9.9 is older than what runs"),
        ("a version before the one that runs", firmware("1.0.0-rc1", IMAGE), 406, "version 1.0.0-rc1 is older than what runs"),
    ]


def foreign_container():
    with tempfile.TemporaryDirectory() as folder:
        key = pathlib.Path(folder) / "other"
        subprocess.run([shared("scripts/make-firmware"), "keys", key], check=True, capture_output=True)
        return firmware("2.0.0", IMAGE, "--key", f"{key}.pem"), pathlib.Path(f"{key}.pub").read_text()


def check_attacks(device):
    foreign, _ = foreign_container()
    config = (pathlib.Path(device.folder.name) / "build.config").read_bytes()
    rows = attacks(foreign)
    for what, container, status, reason in rows:
        seen = len(log_of(device))
        reply = send(device, container)
        assert reply.status == status, f"{what}: {reply.raw[:100]}"
        assert f"firmware from 127.0.0.1 refused: {reason}" in log_of(device)[seen:], f"{what}: {log_of(device)[seen:]}"
        assert version(device) == "1.0.0" and not on_trial(device), what
        assert (pathlib.Path(device.folder.name) / "build.config").read_bytes() == config, what
    print(f"{len(rows)} containers refused", flush=True)


def check_rights(device):
    assert post_json(device, "/createuser", username="kim", password=PASSWORD, role=3).status == 200
    viewer = device.log_in("kim", PASSWORD)
    if viewer:
        assert send(device, firmware("2.0.0"), token=viewer).status == 401
    assert send(device, firmware("2.0.0"), token="nobody's").status == 401
    assert version(device) == "1.0.0"


def check_upload_that_breaks_off(device):
    """It does not keep the next one out."""
    body, kind = form(firmware("2.0.0", b"image" * 100000))
    head = request("post", "/api/v1/fw_upload", device.token(), body, kind)
    with device.connect() as client:
        client.sendall(head[:300000])
        while not (pathlib.Path(device.folder.name) / "firmware/slot-1").exists():
            time.sleep(0.01)
        assert send(device, firmware("2.0.0")).status == 500, "two at once"
    deadline = time.monotonic() + PATIENCE
    while send(device, firmware("0.1.0")).status != 406:  # refused for itself, no more for the other
        assert time.monotonic() < deadline, "an upload that broke off holds the device"
        time.sleep(0.1)


def firmware_of(device):
    return json.loads(get(device, "/sim/firmware").content())


def check_newcomer(device):
    """It learns of an upload under way, also when a reboot cuts that off; a client that goes does not take the upload along."""
    body, kind = form(firmware("2.0.0", b"image" * 100000))
    head = request("post", "/api/v1/fw_upload", device.token(), body, kind)
    other = device.log_in()
    channel = Channel(device, device.log_in())
    assert channel.wait_for("hello")["upgrade"] is None
    with device.connect() as client:
        deadline = time.monotonic() + PATIENCE
        client.sendall(head[:100000])
        while not channel.find("upgrade", phase="receiving"):
            assert time.monotonic() < deadline, "nothing of the upload is told"
            time.sleep(0.3)
            client.sendall(head[100000:100100])
            head = head[:100000] + head[100100:]
        newcomer = Channel(device, other)
        upgrade = newcomer.wait_for("hello")["upgrade"]
        assert upgrade["phase"] == "receiving" and upgrade["version"] == "2.0.0", upgrade
        newcomer.send('{"type":"reboot","id":1}')
        newcomer.wait_for("upgrade", phase="failed", version="2.0.0")
        newcomer.wait_for("upgrade", phase="done", version="1.0.0")
    await_reboot(device)
    assert firmware_of(device) == {"version": "1.0.0", "before": "", "slot": 0, "trial": False}


def check_downgrade(device):
    first, second = firmware("2.0.0"), firmware("2.1.0")  # to make one may take longer than the restart
    assert send(device, first).status == 200
    assert send(device, second).status == 500, "a second one before the restart"
    await_reboot(device)
    assert version(device) == "2.0.0"
    assert firmware_of(device) == {"version": "2.0.0", "before": "1.0.0", "slot": 1, "trial": False}
    assert send(device, firmware("1.5.0")).status == 406
    assert send(device, firmware("1.5.0"), "?downgrade=0").status == 406
    assert send(device, firmware("1.5.0"), "?downgrade=1").status == 200
    await_reboot(device)
    assert version(device) == "1.5.0"


def check_rollback(device):
    """Three starts without a confirmation; one of them is cut off by a loss of power."""
    assert send(device, firmware("3.0.0", b"does not start")).status == 200
    deadline = time.monotonic() + PATIENCE
    while version(device) != "3.0.0":
        assert time.monotonic() < deadline, "the new firmware never started"
        time.sleep(0.05)
    device.lose_power()
    assert version(device) in ("3.0.0", "1.5.0")
    while version(device) != "1.5.0" or on_trial(device):
        assert time.monotonic() < deadline, "the old firmware does not come back"
        time.sleep(0.1)
    assert "version 3.0.0 did not confirm itself; version 1.5.0 runs again" in log_of(device)


def check_other_key(program):
    foreign, key = foreign_container()
    with tempfile.NamedTemporaryFile("w") as file:
        file.write(key)
        file.flush()
        with Device(program, "--firmware-key", file.name) as device:
            assert send(device, firmware("2.0.0")).status == 406, "the development key opens a device with its own"
            assert send(device, foreign).status == 200
            await_reboot(device)
            assert version(device) == "2.0.0"


def main():
    with Device(sys.argv[1]) as device:
        check_attacks(device)
        check_rights(device)
        check_upload_that_breaks_off(device)
        check_newcomer(device)
        check_downgrade(device)
        check_rollback(device)
    check_other_key(sys.argv[1])


main()
