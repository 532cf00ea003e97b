#!/usr/bin/python3
"""The WebSocket channel: every message of the device is as described, and every described one is seen.

usage: events_test.py SIMULATOR
"""
import json
import sys

import jsonschema
import yaml

import inputs
from channel import PATIENCE, Channel
from device import Device, Reply, form, request, shared


ANSWERS = {"ping": "pong", "preset-list": "presets"}


def examples(document):
    """The commands that the description shows."""
    return [example["payload"] for name, message in document["components"]["messages"].items() if name.startswith("client")
            for example in message["examples"]]


def drive(device, channel, document):
    channel.wait_for("hello")
    channel.wait_for("status")
    for command in examples(document):
        channel.send(json.dumps(command))
        channel.wait_for(ANSWERS.get(command["type"], "ok"), id=command["id"])
    for index, text in enumerate(("{", "[]", "null", "{}", '{"type":1}', "\u00e9" * 300, '{"type":"set-unit-name","unit":"nobody","name":"x"}',
                                  '{"type":"set-unit-online","unit":"TX01","online":"yes"}')):
        before = sum(message["type"] == "error" for message in channel.messages)
        channel.send(text)
        with channel.changed:
            assert channel.changed.wait_for(lambda: sum(m["type"] == "error" for m in channel.messages) > before, PATIENCE), (index, text)
    channel.wait_for("unit", was="TX01")
    channel.wait_for("upgrade", phase="done")
    device.exchange(request("post", "/upload/logo", device.token(), *form(inputs.picture(), "logo.png")))
    channel.wait_for("upload", done=True, ok=True)
    exported = Reply(device.exchange(request("get", "/api/v1/settings/export?method=units", device.token()))).content()
    device.exchange(request("post", "/api/v1/settings/import", device.token(), *form(exported, "settings.zip")))
    channel.wait_for("units")
    channel.wait_for("presets", id=None)
    device.exchange(request("post", "/upload/logo", device.token(), *form(b"no picture", "logo.png")))
    channel.wait_for("upload", done=True, ok=False, reason="it is no PNG, JPEG or BMP picture")
    device.exchange(request("post", "/api/v1/fw_upload", device.token(), *form(b"no firmware", "f.sdkfw")))
    channel.wait_for("upgrade", phase="failed", reason="no firmware container")
    device.exchange(request("post", "/api/v1/fw_upload", device.token(), *form(inputs.firmware(), "f.sdkfw")))
    channel.wait_for("upgrade", phase="verifying")
    for number in (6, 7):  # the first may come when the reboot of the upgrade is over already
        channel.send(json.dumps({"type": "reboot", "id": number}))
    channel.wait_for("error", id=7, text="rebooting already")
    channel.wait_for("upgrade", phase="done", version="1.1.0")
    device.exchange(request("get", "/dev_info", "nobody's token"))
    channel.wait_for("log")
    channel.wait_for("audit")
    assert Reply(device.exchange(request("post", "/custom_restore", device.token()))).status == 200
    channel.wait_for("restored")


def main():
    document = yaml.safe_load(shared("docs/api/asyncapi.yaml").read_text())
    described = {message["name"]: message for name, message in document["components"]["messages"].items() if name.startswith("device")}
    resolver = jsonschema.RefResolver.from_schema(document)
    with Device(sys.argv[1]) as device:
        channel = Channel(device)
        drive(device, channel, document)
        channel.socket.close()
    for message in channel.messages:
        assert message["type"] in described, message
        jsonschema.Draft202012Validator(described[message["type"]]["payload"], resolver=resolver).validate(message)
    for message in document["components"]["messages"].values():
        for example in message["examples"]:
            jsonschema.Draft202012Validator(message["payload"], resolver=resolver).validate(example["payload"])
    unseen = set(described) - {message["type"] for message in channel.messages}
    assert not unseen, f"described, never seen: {unseen}"
    print(f"{len(channel.messages)} messages of {len(described)} types as described")


main()
