#!/usr/bin/python3
"""Certificates that the device makes, asks for and takes: what it says of them, what it refuses, and that HTTPS serves them.

usage: attack_issuing_test.py SIMULATOR
"""
import json
import pathlib
import ssl
import subprocess
import sys
import tempfile
import time

from device import Device, Reply, form, request
from files import certificate

HTTPS = "/api/v1/security/https_setting"
PORT = "/api/v1/security/ieee802_1x_setting"
DAY = 86400


def ask(device, body=None, token=None):
    raw = (request("get", "/sim/certificates", token or device.token()) if body is None else
           request("post", "/sim/certificates", token or device.token(), json.dumps(body).encode(), "application/json"))
    reply = Reply(device.exchange(raw))
    return reply.status, json.loads(reply.content() or b"null")


def told(device):
    status, body = ask(device)
    assert status == 200, status
    return body


def send(device, path, content, headers=None):
    body, kind = form(content, "new.pem")
    return Reply(device.exchange(request("post", path, device.token(), body, kind, headers))).status


def served_fingerprint(device):
    with device.connect() as client:
        seen = ssl.DER_cert_to_PEM_cert(client.getpeercert(binary_form=True)).encode()
    return fingerprint(seen)


def openssl(*arguments, given=None, folder=None):
    return subprocess.run(["openssl", *arguments], input=given, cwd=folder, check=True, capture_output=True).stdout


def fingerprint(pem):
    return openssl("x509", "-noout", "-fingerprint", "-sha256", given=pem).decode().strip().partition("=")[2]


def signed(signing_request, days):
    """What somebody's authority makes of a request."""
    with tempfile.TemporaryDirectory() as folder:
        (pathlib.Path(folder) / "request.pem").write_bytes(signing_request)
        openssl("req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", "ca.key", "-out", "ca.pem", "-subj", "/CN=authority", folder=folder)
        return openssl("x509", "-req", "-in", "request.pem", "-CA", "ca.pem", "-CAkey", "ca.key", "-CAcreateserial", "-days", str(days),
                       "-copy_extensions", "copy", folder=folder)


def restart(device):
    device.stop()
    device.start()


def check_a_made_one(device):
    before = told(device)
    assert before["choice"] == "made" and before["waiting"] is None and before["ieee8021x"] is None and before["why"] == ""
    assert before["inUse"]["selfSigned"] and before["inUse"]["state"] == "valid" and before["inUse"]["chain"] == 0
    assert before["inUse"]["fingerprint"] == served_fingerprint(device)
    status, after = ask(device, {"action": "make", "commonName": "Hall 1", "names": ["hall.example", "192.0.2.7", "::1"], "days": 20})
    assert status == 200 and after == told(device) and after["inUse"] == before["inUse"]
    waiting = after["waiting"]
    assert waiting["subject"] == "CN=Hall 1" and waiting["names"] == ["hall.example", "192.0.2.7", "::1"], waiting
    assert waiting["state"] == "soon" and abs(waiting["notAfter"] - time.time() - 20 * DAY) < 600
    assert (waiting["key"], waiting["keyBits"]) == ("RSA", 2048)
    restart(device)
    assert told(device)["choice"] == "new" and told(device)["waiting"] is None
    assert told(device)["inUse"] == waiting and waiting["fingerprint"] == served_fingerprint(device)


def check_a_request(device):
    status, body = ask(device, {"action": "request", "commonName": "Hall 2", "names": ["hall2.example"]})
    assert status == 200, body
    answer = signed(body["request"].encode(), 90)
    assert send(device, HTTPS, answer) == 200
    waiting = told(device)["waiting"]
    assert waiting["issuer"] == "CN=authority" and not waiting["selfSigned"] and waiting["names"] == ["hall2.example"], waiting
    restart(device)
    assert served_fingerprint(device) == waiting["fingerprint"] == fingerprint(answer)


def check_discard(device):
    assert send(device, HTTPS, certificate()) == 200
    assert told(device)["waiting"]["subject"] == "CN=device"
    assert ask(device, {"action": "discard"})[1]["waiting"] is None
    assert ask(device, {"action": "discard"}) == (400, {"error": "nothing waits"})


def check_refusals(device):
    common = "the common name is not 1 to 64 characters"
    name = "an alternative name is neither a host's name nor an address"
    for body, reason in (({"commonName": ""}, common), ({"commonName": "x" * 65}, common), ({"commonName": "a\nb"}, common),
                         ({"commonName": "a\0b"}, "bad body"), ({"commonName": 1}, "bad body"), ({"names": []}, name), ({"names": "a"}, "bad body"),
                         ({"names": [1]}, "bad body"), ({"names": ["a b"]}, name), ({"names": ["dirName:x"]}, name), ({"names": ["@x"]}, name),
                         ({"names": ["x" * 1001]}, "there are too many alternative names"), ({"days": 0}, "bad body"), ({"days": 36501}, "bad body"),
                         ({"days": 2**64 - 1}, "bad body"), ({"days": 1.5}, "bad body"), ({"else": 1}, "bad body")):
        for action in ("make", "request"):
            assert ask(device, {"action": action} | body) == (400, {"error": reason}), (action, body, ask(device, {"action": action} | body))
    for body in ({}, [], {"action": 1}, {"action": "steal"}):
        assert ask(device, body) == (400, {"error": "bad body"}), body
    assert told(device)["waiting"] is None


def check_rights(device):
    """Everybody may look, as at the handshake; administrators change."""
    body = {"username": "kim", "password": "Correct-Horse-7", "role": 2}
    assert Reply(device.exchange(request("post", "/createuser", device.token(), json.dumps(body).encode(), "application/json"))).status == 200
    first = device.log_in("kim", "Correct-Horse-7")
    body = {"username": "kim", "oldpassword": "Correct-Horse-7", "newpassword": "Other-Horse-8"}
    device.exchange(request("post", "/change/password", first, json.dumps(body).encode(), "application/json"))
    operator = device.log_in("kim", "Other-Horse-8")
    assert ask(device, token=operator)[0] == 200
    assert ask(device, {"action": "make"}, operator)[0] == 401
    body, kind = form(certificate())
    for path in (HTTPS, PORT, "/upload/security", "/upload/sub/security"):
        assert Reply(device.exchange(request("post", path, operator, body, kind))).status == 401, path
    assert ask(device, token="nobody's")[0] == 401


def check_port(device):
    pem = certificate()
    assert send(device, PORT, pem, {"Port": "1812"}) == 200
    assert told(device)["ieee8021x"]["port"] == 1812 and told(device)["ieee8021x"]["fingerprint"] == fingerprint(pem)
    assert send(device, PORT, pem) == 200
    assert "port" not in told(device)["ieee8021x"]


def check_without_https(program):
    with Device(program) as device:
        assert told(device)["inUse"] is None and told(device)["choice"] == "none"
        assert ask(device, {"action": "request"}) == (400, {"error": "there is no key"})
        assert ask(device, {"action": "make"})[0] == 200
        body = ask(device, {"action": "request"})[1]
        assert send(device, HTTPS, signed(body["request"].encode(), 90)) == 200


def main():
    with Device(sys.argv[1], tls=True) as device:
        check_a_made_one(device)
        check_a_request(device)
        check_discard(device)
        check_refusals(device)
        check_rights(device)
        check_port(device)
    check_without_https(sys.argv[1])
    print("certificates are told, made, asked for and taken")


main()
