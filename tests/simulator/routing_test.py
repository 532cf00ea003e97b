#!/usr/bin/python3
"""What routing and presets do: a receiver shows its transmitter's picture, and presets bring a routing back.

usage: routing_test.py SIMULATOR
"""
import json
import sys
import time

from channel import PATIENCE, Channel
from device import Device, Reply, request

# The bars and the name are the upper two thirds of a picture; below them a clock runs.
STILL_BYTES = 8000


def picture(device, unit):
    """The part of a unit's newest picture that does not move. A viewer that has just left may still have its place."""
    end = time.monotonic() + PATIENCE
    while (found := try_picture(device, unit)) is None:
        assert time.monotonic() < end, f"no picture of {unit}"
    return found


def try_picture(device, unit):
    with device.connect() as viewer:
        viewer.sendall(f"GET /preview/{unit} HTTP/1.1\r\nHost: device\r\n\r\n".encode())
        data = b""
        while b"\xff\xd8" not in data or len(data) - data.index(b"\xff\xd8") < STILL_BYTES:
            piece = viewer.recv(65536)
            if not piece:
                assert data.startswith(b"HTTP/1.1 404 "), f"the stream of {unit} ends: {data[:200]}"
                return None
            data += piece
        return data[data.index(b"\xff\xd8"):][:STILL_BYTES]


def wait_for_picture(device, receiver, source):
    end = time.monotonic() + PATIENCE
    while picture(device, receiver) != picture(device, source):
        assert time.monotonic() < end, f"{receiver} does not show {source}"


def call(device, path, **body):
    data = json.dumps(body).encode()
    reply = Reply(device.exchange(request("post", path, device.token(), data, "application/json") if body
                                  else request("get", path, device.token())))
    return reply.status, json.loads(reply.content())


def check_pictures(device):
    assert picture(device, "TX01") != picture(device, "TX02")
    wait_for_picture(device, "RX01", "TX01")
    assert call(device, "/sim/units/RX01", input="TX02")[0] == 200
    wait_for_picture(device, "RX01", "TX02")
    assert call(device, "/sim/units/TX02", online=False)[0] == 200
    assert call(device, "/sim/units/RX02", input="")[0] == 200
    wait_for_picture(device, "RX01", "RX02")  # no signal
    assert call(device, "/sim/units/TX02", online=True)[0] == 200


def check_presets(device, channel):
    routes = {"RX01": "TX02", "RX02": "", "RX03": "TX03", "RX04": "TX04"}
    assert call(device, "/sim/presets") == (200, {"presets": []})
    assert call(device, "/sim/presets/Day", action="recall") == (404, {"error": "no such preset"})
    assert call(device, "/sim/presets/Day", action="store") == (200, {"name": "Day", "routes": routes})
    channel.wait_for("preset", name="Day", action="stored")
    assert call(device, "/sim/presets/Day", action="sing") == (400, {"error": "bad body"})
    assert call(device, "/sim/presets/a%20b", action="store") == (400, {"error": "bad name"})

    assert call(device, "/sim/units/RX01", input="TX03")[0] == 200
    assert call(device, "/sim/units/TX02", name="Stage")[0] == 200
    channel.send('{"type":"preset-recall","id":1,"name":"Day"}')
    channel.wait_for("ok", id=1)
    assert call(device, "/sim/units/RX01")[1]["input"] == "Stage"
    wait_for_picture(device, "RX01", "Stage")
    assert call(device, "/sim/presets/Day") == (200, {"name": "Day", "routes": {**routes, "RX01": "Stage"}})

    for number in range(31):
        assert call(device, f"/sim/presets/p{number}", action="store")[0] == 200
    assert call(device, "/sim/presets/one-more", action="store") == (400, {"error": "too many presets"})
    assert call(device, "/sim/presets/Day", action="delete") == (200, {})
    channel.send('{"type":"preset-delete","id":2,"name":"Day"}')
    channel.wait_for("error", id=2, text="no such preset")
    assert Reply(device.exchange(request("post", "/custom_restore", device.token()))).status == 200
    assert call(device, "/sim/presets") == (200, {"presets": []})


def main():
    with Device(sys.argv[1], "--no-auth") as device:
        channel = Channel(device)
        channel.wait_for("hello", presets=[])
        check_pictures(device)
        check_presets(device, channel)


main()
