#!/usr/bin/python3
"""A transmitter takes another EDID when it is one, and keeps it; a receiver has its display's.

usage: edid_test.py SIMULATOR
"""
import json
import sys

from channel import Channel
from device import Device, Reply, request
from files import edid


def with_sum(block):
    return bytes(block[:127]) + bytes([-sum(block[:127]) % 256])


def changed(block, at, *values):
    return with_sum(block[:at] + bytes(values) + block[at + len(values):])


def unit(device, unit_name, **body):
    data = json.dumps(body).encode()
    sent = request("post", f"/sim/units/{unit_name}", device.token(), data, "application/json") if body else request("get", f"/sim/units/{unit_name}", device.token())
    reply = Reply(device.exchange(sent))
    return reply.status, json.loads(reply.content())


def check_changes(device, channel):
    one = edid().hex()
    two = (changed(edid(), 126, 1) + with_sum(b"\2\3" + bytes(126))).hex()
    for text in (one, two, one.upper()):
        status, answer = unit(device, "TX01", edid=text)
        assert (status, answer["edid"]) == (200, text)
        channel.wait_for("unit", unit=answer)
    channel.send(json.dumps({"type": "set-unit-edid", "id": 1, "unit": "TX02", "edid": two}))
    channel.wait_for("ok", id=1)
    assert unit(device, "TX02")[1]["edid"] == two


def check_refusals(device, channel):
    good = edid()
    before = unit(device, "TX03")[1]["edid"]
    for what, text, words in (
            ("nothing", "", "bad EDID: it is not 128 or 256 bytes long"),
            ("half a block", good[:64].hex(), "bad EDID: it is not 128 or 256 bytes long"),
            ("three blocks", (good * 3).hex(), "bad EDID: it is not 128 or 256 bytes long"),
            ("no digits", "x" * 256, "bad EDID: it is not hexadecimal"),
            ("a letter too late", good.hex()[:-1] + "g", "bad EDID: it is not hexadecimal"),
            ("zeros", "0" * 256, "bad EDID: it has no EDID header"),
            ("no maker", changed(good, 8, 0, 0).hex(), "bad EDID: it names no maker"),
            ("a wrong sum", changed(good, 8, 4, 109)[:127].hex() + "00", "bad EDID: block 0 has a wrong checksum"),
            ("a block less than it says", changed(good, 126, 1).hex(), "bad EDID: it has another number of blocks than it says")):
        assert unit(device, "TX03", edid=text) == (400, {"error": words}), what
    assert unit(device, "TX03", edid=1) == (400, {"error": "bad body"})
    assert unit(device, "TX03", edid=good.hex(), name="bad name!") == (400, {"error": "bad name"})
    assert unit(device, "RX01", edid=good.hex()) == (400, {"error": "only transmitters take an EDID"})
    channel.send(json.dumps({"type": "set-unit-edid", "id": 2, "unit": "RX01", "edid": good.hex()}))
    channel.wait_for("error", id=2, text="only transmitters take an EDID")
    assert unit(device, "TX03")[1]["edid"] == before


def main():
    with Device(sys.argv[1], "--no-auth") as device:
        channel = Channel(device)
        channel.wait_for("hello")
        check_changes(device, channel)
        check_refusals(device, channel)
        device.lose_power()
        assert len(unit(device, "TX02")[1]["edid"]) == 512


main()
