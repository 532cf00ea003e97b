#!/usr/bin/python3
"""Storage that fails loses nothing: every write, flush, rename and removal of every change fails in turn, or never returns.

usage: storage_faults_test.py SIMULATOR FAILING_STORAGE failures|cuts [REGEX]

SDKAPI_STORAGE_STEP=3 in the environment takes every third call only.

"failures" are a full disk and one call that fails, "cuts" a loss of power. After each of them the device shows its old state or its new one, never a mixture; what it called done is still
done when the power is lost in the next instant; and the same change succeeds when the storage works again.
"""
import io
import json
import os
import pathlib
import re
import shutil
import sys
import tempfile
import time
import zipfile

from device import Device, Reply, form, request, shared
from files import certificate, firmware
from storage import BROKEN, CUT_OFF, FULL, Storage

OLD, NEW = "Correct-Horse-7", "Other-Horse-8"
OLD_CERTIFICATE, NEW_CERTIFICATE = certificate(), certificate()
HTTPS, PORT = "/api/v1/security/https_setting", "/api/v1/security/ieee802_1x_setting"
MOST_CALLS = 200
STEP = int(os.environ.get("SDKAPI_STORAGE_STEP", "1"))
FAULTS = {"failures": {"a full disk": FULL, "one failure": BROKEN}, "cuts": {"a loss of power": CUT_OFF}}
WHOLE = ("import settings", "restore")  # where no part may be older than another


def post_json(device, path, **members):
    return Reply(device.exchange(request("post", path, device.token(), json.dumps(members).encode(), "application/json")))


def get(device, path):
    return Reply(device.exchange(request("get", path, device.token())))


def upload(device, path, content, name="file.bin"):
    return Reply(device.exchange(request("post", path, device.token(), *form(content, name))))


def accepted(reply):
    """Status 200, and the code 0 where there is one; some failures are answered with nothing."""
    if reply.empty or reply.status != 200:
        return False
    code = re.search(rb'"code"\s*:\s*(\d+)', reply.content())
    return code is None or code.group(1) == b"0"


def version(device):
    return json.loads(get(device, "/sim/status").content())["version"]


def state(device):
    """What a client can see of everything that is kept, once nothing is pending."""
    deadline = time.monotonic() + 30
    while (pathlib.Path(device.folder.name) / "staging/change/journal").exists():
        assert time.monotonic() < deadline, "a change stays pending"
        time.sleep(0.05)
    log_ins = [bool(device.log_in(name, password)) for name in ("kim", "pat") for password in (OLD, NEW)]
    certificates = json.loads(get(device, "/sim/certificates").content())
    files = json.loads(get(device, "/sim/files").content())["files"]
    pictures = json.loads(get(device, "/getprivjson").content())["6000list"]
    bindings = [(row["picname"], row["hostname"]) for row in pictures if row["hostname"]]
    return {"database": [get(device, "/sim/units").content(), get(device, "/sim/users").content(), bindings, log_ins],
            "pictures": [row["picname"] for row in pictures],
            "version": version(device),
            "certificate": (certificates["waiting"] or certificates["inUse"])["fingerprint"],  # the next start uses what waits
            "port certificate": certificates["ieee8021x"]["fingerprint"],
            "logo": Reply(device.exchange(request("get", "/download/logo", ""))).content(),
            "files": [(file["kind"], file["size"]) for file in files]}


def picture(number):
    return shared(f"docs/images/{('login', 'users')[number]}.png").read_bytes()


def prepare(device):
    """A state in which every member of it can change."""
    for path in (HTTPS, PORT):
        assert accepted(upload(device, path, OLD_CERTIFICATE))
    assert accepted(upload(device, "/upload/logo", picture(0)))
    assert accepted(upload(device, "/upload/priv", picture(0), "a.png"))
    assert get(device, "/specifypriv?hostname=RX01&file=a.png").status == 200
    assert accepted(post_json(device, "/createuser", username="kim", password=OLD, role=2))
    exported = get(device, "/api/v1/settings/export?method=full").content()
    assert zipfile.ZipFile(io.BytesIO(exported)).testzip() is None
    assert accepted(post_json(device, "/createuser", username="old", password=OLD, role=3))
    assert accepted(post_json(device, "/sim/units/TX01", name="camera"))
    assert accepted(upload(device, "/upload/logo", picture(1)))
    assert get(device, "/specifypriv?hostname=RX02&file=a.png").status == 200
    return exported


def upgrade(device):
    """The version is written when the simulated reboot is over."""
    if not accepted(upload(device, "/api/v1/fw_upload", firmware("2.0.0"))):
        return False
    while get(device, "/dev_info").status != 200:
        time.sleep(0.1)
    return version(device) == "2.0.0"


def changes(exported):
    """What changes the state; true when the device called it done."""
    return {
        "upload a picture": lambda device: accepted(upload(device, "/upload/logo", picture(0))),
        "upload a picture for a unit": lambda device: accepted(upload(device, "/upload/priv", picture(0), "b.png")),
        "upload a certificate": lambda device: accepted(upload(device, HTTPS, NEW_CERTIFICATE)),
        "upload a port's certificate": lambda device: accepted(upload(device, PORT, NEW_CERTIFICATE)),
        "create a user": lambda device: accepted(post_json(device, "/createuser", username="pat", password=OLD, role=2)),
        "delete a user": lambda device: accepted(post_json(device, "/deleteuser", username="kim")),
        "change name and password": lambda device: accepted(post_json(
            device, "/change/usrorpasswd", username="kim", newusername="pat", oldpassword=OLD, newpassword=NEW)),
        "rename a unit": lambda device: accepted(post_json(device, "/sim/units/TX02", name="stage")),
        "bind a picture": lambda device: accepted(get(device, "/specifypriv?hostname=RX03&file=a.png")),
        "delete a picture": lambda device: accepted(get(device, "/delete_priv?file=a.png")),
        "import settings": lambda device: accepted(upload(device, "/api/v1/settings/import", exported, "settings.zip")),
        "restore": lambda device: accepted(get(device, "/custom_restore")),
        "upgrade": upgrade,
    }


def check_state(where, name, found, before, after):
    assert name not in WHOLE or found in (before, after), f"{where}: neither the old state nor the new one"
    for member in before:
        assert found[member] in (before[member], after[member]), f"{where}: a mixture in {member}: {found[member]!r:.600}"


def attempted(change, device, fault):
    """Whether the device called the change done; one that has lost its power says nothing."""
    try:
        return change(device)
    except (AttributeError, OSError, ValueError):
        if fault != CUT_OFF:
            raise
        return False


def fail_one(program, storage, base, name, change, call, what, fault, before, after):
    """False when the change makes fewer calls than this."""
    where = f"{name}, {what} at call {call}"
    with Device(program, copy_of=base, environment=storage.environment) as device:
        device.token()
        storage.fail(call, fault)
        done = attempted(change, device, fault)
        failed = storage.work()
        if failed and fault == CUT_OFF:
            device.lose_power()
        found = state(device)
        check_state(where, name, found, before, after)
        assert not done or found == after, f"{where}: called done, and is not"
        device.lose_power()
        found = state(device)
        check_state(f"{where}, then the power", name, found, before, after)
        assert not done or found == after, f"{where}: called done, and lost with the power"
        if found == before:
            assert change(device), f"{where}: refused although the storage works again"
            assert state(device) == after, f"{where}: another result when the storage works again"
    return failed


def main():
    program, library, faults = sys.argv[1:4]
    storage = Storage(library)
    with tempfile.TemporaryDirectory() as folder:
        base = pathlib.Path(folder) / "base"
        with Device(program, environment=storage.environment) as device:
            exported = prepare(device)
            before = state(device)
            device.stop()
            shutil.copytree(device.folder.name, base)
        for name, change in changes(exported).items():
            if not re.search(sys.argv[4] if len(sys.argv) > 4 else "", name):
                continue
            with Device(program, copy_of=base, environment=storage.environment) as device:
                assert change(device), name
                after = state(device)
            assert after != before, f"{name} changes nothing"
            for what, fault in FAULTS[faults].items():
                calls = next(call for call in range(1, MOST_CALLS, STEP)
                             if not fail_one(program, storage, base, name, change, call, what, fault, before, after))
                assert calls > 1, f"{name}: nothing was written"
                print(f"{name}: {what} at calls 1 to {calls - 1}", flush=True)


main()
