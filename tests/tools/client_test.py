#!/usr/bin/python3
"""The client library, as a program imports it: both clients do the same against the simulated device.

usage: client_test.py SIMULATOR http|https
"""
import asyncio
import pathlib
import resource
import sys
import tempfile
import threading

from websockets.legacy.server import serve

from device import Device, shared
from files import certificate, picture

sys.path.insert(0, str(shared("tools")))
from sdkapi_client import (AsyncClient, BadReply, CertificateError, Client, InvalidAddress, InvalidFile, LoginLocked, LoginRefused, NotAuthorised,  # noqa: E402
                           NotOffered, Refused, SdkapiError, Trust, Unreachable, certificate_of, fingerprint)
from sdkapi_client.downloads import safe_name  # noqa: E402
from sdkapi_client.preview import PreviewParser  # noqa: E402
from sdkapi_client.session import normal_url  # noqa: E402

PASSWORD = "Correct-Horse-7"
LARGE = 24 << 20


def raises(kind, function, *arguments, **named):
    try:
        function(*arguments, **named)
    except kind as error:
        assert type(error) is kind and error.message, error
        return error
    raise AssertionError(f"no {kind.__name__}")


def check_blocking(client, folder):
    assert client.login_needed()
    raises(NotAuthorised, client.device_info)
    raises(LoginRefused, client.login, "admin", "wrong")
    assert not client.login("admin", "admin").first and client.token
    assert client.device_info().timeout == 43200
    assert [unit.name for unit in client.units()][:2] == ["TX01", "TX02"]
    path = folder / "a picture.png"
    path.write_bytes(picture())
    seen = []
    client.upload("logo", path, progress=lambda done, total: seen.append((done, total)))
    assert seen[-1] == (len(picture()), len(picture()))
    with client.download("logo") as download:
        assert b"".join(download.pieces) == picture() and download.name == "logo.png", download.name
    for name in ("a+b.png", "50%41.png", "a b.png"):
        client.upload("priv", path, name=name)
        (kept,) = (entry.picture for entry in client.privileges())
        assert kept == name.replace("%", "_").replace("+", "_"), (kept, name)
        client.delete_privilege(kept)
    client.upload("priv", path)
    client.bind_privilege("RX01", "a picture.png")
    assert [(entry.picture, entry.hosts) for entry in client.privileges()] == [("a picture.png", ("RX01",))]
    client.delete_privilege("a picture.png")
    assert client.privileges() == []
    raises(Refused, client.delete_privilege, "nothing.png")
    client.create_user("olga", PASSWORD, 2)
    raises(Refused, client.create_user, "olga", PASSWORD, 2)
    client.delete_user("olga")
    assert len(client.json("/sim/units")["units"]) == 8
    assert client.json("/sim/units/TX01", {"online": False})["online"] is False
    raises(NotOffered, client.json, "/nowhere")
    assert "firmware container" in raises(InvalidFile, client.upload, "firmware", path).advice
    assert next(client.preview("TX02"))[:2] == b"\xff\xd8"
    raises(NotOffered, lambda: next(client.preview("TX01")))
    raises(BadReply, client.json, "/")


def check_events(client):
    with client.events() as events:
        assert events.receive(30)["type"] == "hello"
        events.send({"type": "ping", "id": 5})
        assert {"type": "pong", "id": 5} in [events.receive(30) for _ in range(8)]
        try:
            for _ in range(100):
                events.receive(0.0)
            raise AssertionError("a hundred events without a wait")
        except TimeoutError:
            pass
    raises(NotAuthorised, client.events)
    raises(NotAuthorised, client.device_info)


def check_busy():
    """A caller who is busy with something else answers the device's pings all the same."""
    async def greeted(socket):
        await socket.send('{"type":"hello"}')
        await socket.wait_closed()

    async def served(ready, port, end):
        async with serve(greeted, "127.0.0.1", 0, subprotocols=["anonymous"], ping_interval=0.1, ping_timeout=10) as server:
            port.append(server.sockets[0].getsockname()[1])
            ready.set()
            (socket,) = await asyncio.wait_for(connected(server), 60)
            while socket.latency == 0:
                await asyncio.sleep(0.01)
            answered.set()
            await asyncio.to_thread(end.wait)

    async def connected(server):
        while not server.websockets:
            await asyncio.sleep(0.01)
        return tuple(server.websockets)

    ready, answered, end, port = threading.Event(), threading.Event(), threading.Event(), []
    thread = threading.Thread(target=lambda: asyncio.run(served(ready, port, end)))
    thread.start()
    assert ready.wait(60)
    with Client(f"http://127.0.0.1:{port[0]}").events() as events:
        assert answered.wait(60), "a ping without an answer while nobody receives"
        assert events.receive(60) == {"type": "hello"}
    end.set()
    thread.join(60)


def check_large_files(client, folder):
    """Neither way holds the file."""
    path = folder / "large"
    path.write_bytes(b"x" * LARGE)
    client.upload("/sim/upload", path)
    before = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
    client.upload("/sim/upload", path)
    with client.download("/sim/download") as download:
        assert sum(map(len, download.pieces)) == LARGE
    grown = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss - before
    assert grown < LARGE / 1024 / 2, f"{grown} KiB more"


async def check_async(url, trust, folder):
    async with AsyncClient(url, trust=trust) as client:
        await client.login("admin", "admin")
        path = folder / "b.png"
        path.write_bytes(picture())
        info, units, _ = await asyncio.gather(client.device_info(), client.units(), client.upload("bg", path))
        assert info.model == "SIM-8X8" and len(units) == 8
        async with client.download("custom") as download:
            assert download.name == "custom.txt" and b"".join([piece async for piece in download.pieces])
        pictures = client.preview("RX01")
        assert (await pictures.__anext__())[:2] == b"\xff\xd8"
        await pictures.aclose()
        assert await client.privileges() == []
        await client.create_user("eva", PASSWORD, 3)
        await client.delete_user("eva")
        assert await client.login_needed()
        async with await client.events() as events:
            async for event in events:
                assert event["type"] == "hello"
                break
        try:
            await client.device_info()
            raise AssertionError("the login is still there")
        except NotAuthorised:
            pass


def check_locked(url, trust):
    client = Client(url, trust=trust)
    for _ in range(8):
        error = raises_any(client.login, "somebody", "wrong")
        if isinstance(error, LoginLocked):
            assert 0 < error.seconds <= 60
            return
    raise AssertionError("never locked")


def raises_any(function, *arguments):
    try:
        function(*arguments)
    except SdkapiError as error:
        return error
    raise AssertionError("no error")


def check_trust(url, trust):
    assert fingerprint(trust.pin).count(":") == 31
    raises(CertificateError, Client(url).device_info)
    other = certificate().decode()
    raises(CertificateError, Client(url, trust=Trust(pin=other[:other.index("-----BEGIN PRIVATE")])).device_info)
    raises(CertificateError, Client(url, trust=Trust(pin=other[:other.index("-----BEGIN PRIVATE")])).events)


def check_parsers():
    parser = PreviewParser()
    whole = b"--w00t\r\nContent-Type: image/jpeg\r\nContent-Length: 4\r\n\r\n\r\n\r\n\r\n\r\n" * 3
    assert sum((parser.feed(whole[index:index + 1]) for index in range(len(whole))), []) == [b"\r\n\r\n"] * 3
    for bad in (b"--woot\r\nContent-Length: 4\r\n\r\n", b"--w00t\r\nContent-Length: 655361\r\n\r\n", b"--w00t\r\nX: 1\r\n\r\n", b"x" * 2000):
        raises(BadReply, PreviewParser().feed, bad)
    assert safe_name('attachment;filename="../../etc/passwd"', "x") == "passwd"
    assert safe_name('attachment;filename="..\\.hidden\n"', "x") == "hidden_"
    assert safe_name('attachment;filename=""', "x") == "x"
    raises(Unreachable, certificate_of, "https://127.0.0.1:1", 5)
    for bad in ("", "ftp://x", "http://", "http://x:99999", "http://[::1"):
        raises(InvalidAddress, Client, bad)
    for written, meant in (("Host", "http://host"), ("HTTPS://x:443/", "https://x"), ("[::0001]:80", "http://[::1]"), ("http://ü.example:8080", "http://xn--tda.example:8080")):
        assert normal_url(written) == meant, written


def main():
    program, tls = sys.argv[1], sys.argv[2] == "https"
    check_parsers()
    check_busy()
    with Device(program, tls=tls) as device, tempfile.TemporaryDirectory() as name:
        url, folder = f"{sys.argv[2]}://127.0.0.1:{device.port}", pathlib.Path(name)
        trust = Trust(pin=certificate_of(url)) if tls else Trust()
        with Client(url, trust=trust) as client:
            check_blocking(client, folder)
            check_large_files(client, folder)
            check_events(client)
        asyncio.run(check_async(url, trust, folder))
        check_locked(url, trust)
        if tls:
            check_trust(url, trust)
    print("both clients as documented")


main()
