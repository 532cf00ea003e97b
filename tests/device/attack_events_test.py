#!/usr/bin/python3
"""Attacks on the WebSocket channel: the other clients notice nothing, and memory stays bounded.

usage: attack_events_test.py SIMULATOR
"""
import json
import socket
import struct
import sys
import time

from channel import BINARY, PATIENCE, TEXT, Channel, frame
from device import Device, Reply, request
from memory import peak_mebibytes

MOST_MIB = 100
LONGEST = 65536


def clients(device):
    return json.loads(Reply(device.exchange(request("get", "/sim/status", device.token()))).content())["clients"]


def wait_for_clients(device, count):
    end = time.monotonic() + PATIENCE
    while (now := clients(device)) != count:
        assert time.monotonic() < end, f"{now} clients, not {count}"
        time.sleep(0.05)


def send_all(channel, data):
    """Whatever the device takes within a second: it may have ended the connection, or stopped to read."""
    channel.socket.settimeout(1)
    try:
        channel.socket.sendall(data)
    except OSError:
        pass
    channel.socket.settimeout(None)


def expect_alive(witness, word):
    witness.send(json.dumps({"type": "ping", "id": word}))
    witness.wait_for("pong", id=word)


def vanish(channel):
    """Without a close frame; one that does not read resets its connection."""
    try:
        channel.socket.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        channel.socket.shutdown(socket.SHUT_RDWR)
    except OSError:
        pass  # the device was first
    channel.socket.close()


# Each attack gets the device and a name of its own, and returns its connections; the witness has been there all the time.

def flood_of_commands(device, name):
    flood = Channel(device, name, reads=False)
    send_all(flood, frame(b'{"type":"ping"}') * 100000)
    return [flood]


def flood_of_commands_that_is_read(device, name):
    flood = Channel(device, name)
    send_all(flood, frame(b'{"type":"ping","id":1}') * 100000)
    flood.wait_for("pong", id=1)
    return [flood]


def announced_text_of_2_gib(device, name):
    channel = Channel(device, name)
    send_all(channel, b"\x81\xff" + struct.pack(">Q", (1 << 31) - 1) + bytes(4) + bytes(1 << 20))
    channel.wait_for_close(1009)
    return [channel]


def text_of_2_gib_in_pieces(device, name):
    channel = Channel(device, name)
    send_all(channel, frame(bytes(LONGEST - 1), TEXT, False) + frame(bytes(LONGEST - 1), 0, False) * 40)
    channel.wait_for_close(1009)
    return [channel]


def text_that_is_too_long(device, name):
    channel = Channel(device, name)
    channel.send("x" * (LONGEST + 1))
    channel.wait_for_close(1009)
    return [channel]


def bytes_in_place_of_text(device, name):
    channel = Channel(device, name)
    send_all(channel, frame(b"\0\1\2", BINARY))
    expect_alive(channel, name)
    return [channel]


def text_that_is_no_utf8(device, name):
    channel = Channel(device, name)
    send_all(channel, frame(b'{"type":"ping","id":"\xff"}'))
    channel.wait_for_close(1007)
    return [channel]


def deep_json(device, name):
    channel = Channel(device, name)
    half = LONGEST // 2
    for text in ("[" * LONGEST, "[" * half + "]" * half, '{"a":' * (LONGEST // 5),
                 '{"type":"ping","id":' + "[" * 30000 + "]" * 30000 + "}"):
        seen = len(channel.messages)
        channel.send(text)
        with channel.changed:
            assert channel.changed.wait_for(
                lambda: any(m["type"] in ("error", "pong") for m in channel.messages[seen:]), PATIENCE), text[:40]
    return [channel]


def clients_that_do_not_read(device, name):
    """Each asks for more than it takes, under a name of its own."""
    answer = json.dumps({"type": "ping", "id": "x" * 60000}).encode()
    slow = [Channel(device, f"{name}-{number}", reads=False) for number in range(40)]
    for channel in slow:
        channel.socket.setblocking(False)
    asked = memoryview(frame(answer) * 400)
    sent = dict.fromkeys(slow, 0)
    end = time.monotonic() + 3 * PATIENCE
    while clients(device) > 1:
        assert time.monotonic() < end, f"{clients(device)} clients"
        for channel, begin in list(sent.items()):
            try:
                sent[channel] += channel.socket.send(asked[begin:begin + (1 << 20)])
            except BlockingIOError:
                pass
            except OSError:
                del sent[channel]
        time.sleep(0.1)
    return slow


def clients_that_vanish(device, name):
    channels = [Channel(device, f"{name}-{number}", reads=False) for number in range(30)]
    wait_for_clients(device, 31)
    return channels


ATTACKS = (flood_of_commands, flood_of_commands_that_is_read, announced_text_of_2_gib, text_of_2_gib_in_pieces, text_that_is_too_long,
           bytes_in_place_of_text, text_that_is_no_utf8, deep_json, clients_that_do_not_read, clients_that_vanish)


def check_answers_reach_the_asker(device):
    """Two tabs share a token; what one asks the other never hears."""
    token = device.token()
    asker, other = Channel(device, token), Channel(device, token)
    for number in range(20):
        expect_alive(asker, number)
    other.send('{"type":"set-unit-name","id":"mine","unit":"TX01","name":"TX-A"}')
    asker.wait_for("unit", was="TX01")
    other.wait_for("ok", id="mine")
    assert not other.find("pong") and not asker.find("ok"), (asker.messages, other.messages)


def check_ended_login(device):
    """After the log-out nothing more is heard, although the socket was never closed by its client."""
    token = device.token()
    spy = Channel(device, token)
    spy.wait_for("hello")
    assert Reply(device.exchange(request("post", "/logout", token))).status == 200
    witness = Channel(device)
    witness.wait_for("hello")
    witness.send('{"type":"set-unit-name","id":1,"unit":"TX02","name":"secret"}')
    witness.wait_for("unit", was="TX02")
    spy.wait_for_close(1008)
    assert not spy.find("unit"), spy.messages
    assert clients(device) == 1


def check_attacks(program):
    with Device(program, "--no-auth") as device:
        witness = Channel(device, "witness")
        for attack in ATTACKS:
            channels = attack(device, attack.__name__)
            expect_alive(witness, attack.__name__)
            seen = len(witness.messages)
            with witness.changed:
                assert witness.changed.wait_for(lambda: any(m["type"] == "status" for m in witness.messages[seen:]), PATIENCE)
            for channel in channels:
                vanish(channel)
            wait_for_clients(device, 1)
            print(f"{attack.__name__}: {peak_mebibytes(device):.0f} MiB at most", flush=True)
        assert "asan" in program or peak_mebibytes(device) < MOST_MIB  # a sanitizer needs memory of its own


def main():
    check_attacks(sys.argv[1])
    with Device(sys.argv[1]) as device:
        check_answers_reach_the_asker(device)
        check_ended_login(device)


main()
