#!/usr/bin/python3
"""Attacks by pages of somebody else's on a device without authentication: they change nothing, restore nothing, hear nothing, and read
no more than every user may.

usage: attack_pages_test.py SIMULATOR [REGEX]
"""
from attacks import device_with, get, hold, kept, log_of, post, send
from channel import Channel
from device import Reply, request
from files import picture

EVIL = "evil.example"
CHANGES = {"/sim/units/TX01": b'{"online":false}', "/sim/presets/mine": b'{"action":"store"}', "/sim/sessions": b'{"end":1}',
           "/createuser": b'{"username":"mal","password":"Correct-Horse-7","role":1}', "/deleteuser": b'{"username":"admin"}',
           "/change/password": b'{"username":"admin","oldpassword":"admin","newpassword":"Other-Horse-8"}', "/custom_restore": b"{}"}
UPLOADS = ("/upload/logo", "/upload/scene", "/upload/security", "/api/v1/settings/import", "/api/v1/fw_upload", "/sim/upload")
FOR_SOME = ("/log", "/api/v1/log", "/sim/users", "/api/v1/settings/export", "/download/setting", "/api/v1/settings/export?method=users")
FOR_ALL = ("/sim/units", "/getTxRxList", "/api/v1/settings/export?method=units", "/download/custom")
BROWSER = {"User-Agent": "Mozilla/5.0 (X11; Linux x86_64; rv:128.0) Gecko/20100101 Firefox/128.0"}
LINKS = ("/specifypriv?hostname=RX01&file=a.png", "/delete_priv?file=a.png")


def state(device):
    units = get(device, "/sim/units", "", {"Origin": f"http://{EVIL}"})
    assert units.status == 200
    return units.content(), get(device, "/sim/users", "").content(), kept(device, "files", "tls", "firmware", "tmp")


def check_held(device, headers):
    """Nothing that changes anything is done for a client that says this."""
    before = state(device)
    for path, body in CHANGES.items():
        assert post(device, path, body, "", headers).status == 401, path
    for path in UPLOADS:
        assert send(device, path, picture(), "x.png", token="", headers=headers).status == 401, path
    for path in LINKS:
        assert get(device, path, "", headers).status == 401, path
    Channel(device, "any", headers=headers).wait_for_close(1008, "not authorised")
    assert state(device) == before


def pages_of_another_origin(device):
    for headers in ({"Origin": f"http://{EVIL}"}, {"Origin": "null"}, {"Sec-Fetch-Site": "cross-site"}, {"Sec-Fetch-Site": "same-site"},
                    {"Origin": f"http://127.0.0.1:{device.port + 1}", "Host": f"127.0.0.1:{device.port}"}):
        check_held(device, headers)
    assert "a page of another origin asks" in log_of(device)


def pages_under_a_name_that_leads_here(device):
    """The page's own name leads to the device since it was loaded: for the browser both are one."""
    for name in (EVIL, f"{EVIL}:{device.port}", f"127.0.0.1.{EVIL}", f"localhost.{EVIL}", "device.lan.evil", "x.device.lan"):
        check_held(device, {"Host": name, "Origin": f"http://{name}", "Sec-Fetch-Site": "same-origin"})
    assert "it was asked for under a name that is not this device's" in log_of(device)


def links_that_restore(device):
    """Also by HEAD: a browser sends one for every page, without asking the device first, and without the page's origin."""
    before = state(device)
    for headers in ({}, {"Sec-Fetch-Site": "none"}, {"Origin": f"http://{EVIL}"}, BROWSER):
        for method in ("get", "head"):
            assert Reply(device.exchange(request(method, "/custom_restore", "", headers=headers))).status == 401, (method, headers)
    assert state(device) == before


def pictures_on_plain_http(device):
    """Over HTTP a browser does not say for which page it loads a picture, whose address may be one that deletes."""
    assert send(device, "/upload/priv", picture(), "a.png", token="").status == 200
    before = state(device)
    for path in LINKS:
        for method in ("get", "head"):
            assert Reply(device.exchange(request(method, path, "", headers=BROWSER))).status == 401, path
    assert state(device) == before
    assert "a link or a picture in any page may ask so" in log_of(device)
    own = {**BROWSER, "Origin": f"http://127.0.0.1:{device.port}", "Host": f"127.0.0.1:{device.port}"}
    assert post(device, LINKS[0], b"", "", own).status == 200, "the device's own page"
    assert get(device, LINKS[1], "", {"User-Agent": "curl/7.88.1"}).status == 200, "no browser"


def pages_that_read(device):
    """The log, the users and an export with the hashes of their passwords are not for every page; what all users may read is."""
    for headers in ({"Origin": f"http://{EVIL}"}, {"Host": EVIL}, {"Sec-Fetch-Site": "cross-site"}):
        for path in FOR_SOME:
            reply = get(device, path, "", headers)
            assert reply.status in (401, 404), (path, headers)
        for path in FOR_ALL:
            assert get(device, path, "", headers).status == 200, (path, headers)
    for path in FOR_SOME + FOR_ALL:
        assert get(device, path, "", BROWSER).status == 200, (path, "a download by the device's own page")


def the_devices_own_pages(device):
    """What an attack is not: by its addresses and its names the device can be used."""
    for name in ("127.0.0.1", "[::1]", "localhost", "192.0.2.1", "device.lan", "8x8.example"):
        headers = {"Host": f"{name}:{device.port}", "Origin": f"http://{name}:{device.port}", "Sec-Fetch-Site": "same-origin"}
        assert post(device, "/sim/units/TX01", b'{"online":true}', "", headers).status == 200, name
        Channel(device, "any", headers=headers).wait_for("hello")


hold(dict.fromkeys((pages_of_another_origin, pages_under_a_name_that_leads_here, links_that_restore, pictures_on_plain_http, pages_that_read,
                    the_devices_own_pages), device_with("--no-auth", "--host-name", "device.lan,8x8.example")))
