#!/usr/bin/python3
"""Floods of requests of every kind: an ordinary client is answered beside each, and memory stays bounded.

usage: attack_floods_test.py SIMULATOR
"""
import concurrent.futures
import json
import socket
import sys

from device import Device, Reply, form, request
from memory import peak_mebibytes

MOST_MIB = 100
PASSWORD = "Correct-Horse-7"
MIB = 1 << 20
MOST_BODY = 65536


def ask_status(device, token):
    return Reply(device.exchange(request("get", "/sim/status", token))).status


def open_with(device, data, count):
    """So many connections that have sent this and wait; one that the device has ended already counts, too."""
    connections = []
    for _ in range(count):
        client = device.connect()
        client.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
        try:
            client.sendall(data)
        except OSError:
            pass
        connections.append(client)
    return connections


# Each flood gets the device and a token, and returns the connections that it leaves open.

def wrong_passwords_at_once(device, _):
    body = json.dumps({"username": "admin", "password": "wrong"}).encode()
    guess = request("post", "/api/v1/auth/login", "", body, "application/json")
    with concurrent.futures.ThreadPoolExecutor(100) as pool:
        list(pool.map(lambda _: device.exchange(guess), range(400)))
    return []


def half_uploads(device, token):
    body, media = form(bytes(MIB))
    whole = request("post", "/upload/logo", token, body, media)
    return open_with(device, whole[:len(whole) // 2], 100)


def uploads_that_are_too_large(device, token):
    body, media = form(bytes(9 * MIB))
    with concurrent.futures.ThreadPoolExecutor(8) as pool:
        list(pool.map(lambda _: device.exchange(request("post", "/upload/logo", token, body, media)), range(24)))
    return []


def viewers_that_do_not_read(device, _):
    return open_with(device, request("get", "/preview/TX01", ""), 150) + open_with(device, request("get", "/preview/RX02", ""), 150)


def downloads_that_are_not_read(device, token):
    return open_with(device, request("get", "/api/v1/settings/export", token), 100)


def bodies_for_own_routes(device, token):
    def post(size):
        return device.exchange(request("post", "/sim/units/TX01", token, b"x" * size, "application/json"))
    with concurrent.futures.ThreadPoolExecutor(8) as pool:
        list(pool.map(lambda _: post(8 * MIB), range(16)))
    assert [Reply(post(size)).status for size in (MOST_BODY, MOST_BODY + 1)] == [400, 413]
    return []


def half_heads(device, _):
    return open_with(device, b"GET /dev_info HTTP/1.1\r\nX-Long: " + b"x" * 12000, 300)


def silent_connections(device, _):
    return open_with(device, b"", 1000)


FLOODS = (wrong_passwords_at_once, half_uploads, uploads_that_are_too_large, viewers_that_do_not_read, downloads_that_are_not_read,
          bodies_for_own_routes, half_heads, silent_connections)


def main():
    program = sys.argv[1]
    for flood in FLOODS:
        with Device(program, first_password=PASSWORD) as device:
            token = device.token()
            connections = flood(device, token)
            assert ask_status(device, token) == 200, flood.__name__
            peak = peak_mebibytes(device)
            print(f"{flood.__name__}: {peak:.0f} MiB at most", flush=True)
            for client in connections:
                client.close()
            assert "asan" in program or peak < MOST_MIB  # a sanitizer needs memory of its own


main()
