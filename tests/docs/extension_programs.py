#!/usr/bin/python3
"""The programs of the pages on extensions: compiled as they stand, run, and spoken to.

usage: extension_programs.py LIBRARY PAGE, in the repository's root
"""
import pathlib
import re
import socket
import subprocess
import sys
import tempfile
import time
import urllib.error
import urllib.request

from channel import frame, read_exactly, shake_hands
from program import free_port

PATIENCE = 30  # seconds


def compiled(page, library, folder):
    source = pathlib.Path(folder) / "program.c"
    source.write_text(re.search(r"```c\n(.*?)```", pathlib.Path(f"docs/extension/{page}.md").read_text(), re.S).group(1))
    program = pathlib.Path(folder) / "program"
    subprocess.run(["cc", "-std=gnu11", "-Wall", "-Wextra", "-Werror", "-Iinclude", source, "-o", program, library, "-pthread",
                    f"-Wl,-rpath,{pathlib.Path(library).parent}", "-Wl,--allow-shlib-undefined"], check=True)
    return program


def answer(port, path, token="", body=None):
    headers = {"Authorization": "Bearer " + token} if token else {}
    request = urllib.request.Request(f"http://127.0.0.1:{port}{path}", body, headers)
    try:
        with urllib.request.urlopen(request, timeout=PATIENCE) as reply:
            return reply.status
    except urllib.error.HTTPError as error:
        return error.code


def await_port(port):
    end = time.monotonic() + PATIENCE
    while True:
        try:
            return socket.create_connection(("127.0.0.1", port), PATIENCE)
        except ConnectionRefusedError:
            assert time.monotonic() < end
            time.sleep(0.01)


def logins(program, port):
    await_port(port).close()
    assert answer(port, "/api/v1/auth/login", body=b"{}") == 200
    assert answer(port, "/dev_info", "token-1") == 200
    program.stdin.write("\n")
    program.stdin.flush()
    assert program.stdout.readline() == "token-1 from 127.0.0.1\n"
    assert program.stdout.readline() == "ended token-1 1\n"
    assert answer(port, "/dev_info", "token-1") == 401


def read_frame(client):
    opcode, length = read_exactly(client, 2)
    return opcode & 15, read_exactly(client, length)


def websockets(program, port):
    with await_port(port) as client:
        client.settimeout(PATIENCE)
        shake_hands(client, "/websocket", "me")
        assert program.stdout.readline() == "event 0 of 1\n"
        client.sendall(frame(b"hello", 1))
        assert [read_frame(client), read_frame(client)] == [(1, b"tab 1 says"), (1, b"hello")]
        client.sendall(frame(b"\0\xff", 2))
        assert [read_frame(client), read_frame(client)] == [(1, b"tab 1 says"), (2, b"\0\xff")]
        client.sendall(frame(b"bye", 1))
        assert read_frame(client) == (8, b"\x03\xe8see you")
        client.sendall(frame(b"\x03\xe8", 8))
        assert client.recv(1) == b""
    assert program.stdout.readline() == "event 2 of 1\n"


def main():
    library, page = sys.argv[1:]
    port = free_port()
    with tempfile.TemporaryDirectory() as folder:
        with subprocess.Popen([compiled(page, library, folder), str(port)], cwd=folder, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                              text=True) as program:
            try:
                {"logins": logins, "websockets": websockets}[page](program, port)
                program.stdin.close()
                assert program.wait(PATIENCE) == 0
            finally:
                program.kill()


main()
