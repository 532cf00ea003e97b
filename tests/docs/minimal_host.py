#!/usr/bin/python3
"""The minimal host: starts it, logs in, asks, and ends it with a signal.

usage: minimal_host.py PROGRAM
"""
import json
import signal
import subprocess
import sys
import urllib.error
import urllib.request

from program import free_port, wait_for, wait_for_route


def ask(port, path, token=None, body=None):
    """Status and body of a request."""
    headers = {"Authorization": f"Bearer {token}"} if token else {}
    request = urllib.request.Request(f"http://127.0.0.1:{port}{path}", data=body, headers=headers)
    try:
        with urllib.request.urlopen(request, timeout=20) as reply:
            return reply.status, reply.read().decode()
    except urllib.error.HTTPError as error:
        return error.code, error.read().decode()


def check(port):
    assert ask(port, "/dev_info") == (401, "")
    assert ask(port, "/hello")[0] == 401
    assert ask(port, "/api/v1/auth/login", body=b'{"username":"admin","password":"wrong"}') == (200, '{"code":1}')
    status, text = ask(port, "/api/v1/auth/login", body=b'{"username":"admin","password":"admin"}')
    login = json.loads(text)
    assert status == 200 and login["code"] == 0 and len(login["token"]) == 32, text
    token = login["token"]
    assert ask(port, "/dev_info", token) == (200, '{"model":"MINIMAL","timeout":"300"}')
    assert ask(port, "/hello", token) == (200, '{"hello":"GET"}')
    assert ask(port, "/hello", token, b"x") == (200, '{"hello":"POST"}')
    assert ask(port, "/", token)[0] == 404
    again = json.loads(ask(port, "/api/v1/auth/login", body=b'{"username":"admin","password":"admin"}')[1])
    assert again["token"] != token


def run(ending):
    port = free_port()
    with subprocess.Popen([*sys.argv[1].split(), str(port)]) as process:
        try:
            wait_for(port, process)
            wait_for_route(port, "/hello", process)
            check(port)
            process.send_signal(ending)
            assert process.wait(30) == 0
        finally:
            process.kill()


def main():
    for ending in (signal.SIGTERM, signal.SIGINT):
        run(ending)


main()
