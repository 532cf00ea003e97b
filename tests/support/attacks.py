"""What the attacks on a device share: asking it, what it keeps and says, and meeting a device of their own."""
import pathlib
import re
import sys
import time

from device import Device, Reply, form, request

PASSWORD = "Correct-Horse-7"
PATIENCE = 60  # seconds


def get(device, path, token=None, headers=None):
    return Reply(device.exchange(request("get", path, device.token() if token is None else token, headers=headers)))


def post(device, path, body, token=None, headers=None, kind="application/json"):
    return Reply(device.exchange(request("post", path, device.token() if token is None else token, body, kind, headers)))


def send(device, path, content, name="file.bin", **options):
    """Uploads a file."""
    body, kind = form(content, name)
    return post(device, path, body, kind=kind, **options)


def folder_of(device, name=""):
    return pathlib.Path(device.folder.name) / name


def kept(device, *folders):
    """The files below these folders of the device, with their content."""
    paths = (path for folder in folders for path in folder_of(device, folder).rglob("*") if path.is_file())
    return {str(path.relative_to(device.folder.name)): path.read_bytes() for path in paths}


def log_of(device, name="*"):
    return "".join(path.read_text(errors="replace") for path in sorted(folder_of(device, "log").glob(name)))


def wait_until(what, is_so):
    end = time.monotonic() + PATIENCE
    while not is_so():
        assert time.monotonic() < end, what
        time.sleep(0.02)


def device_with(*options, **keywords):
    """How an attack wants its device."""
    return lambda program: Device(program, *options, **{"first_password": PASSWORD, **keywords})


def hold(attacks):
    """Each attack of the command line's regular expression, or all, with the device that it wants."""
    chosen = re.compile(sys.argv[2] if len(sys.argv) > 2 else "")
    for attack, start in attacks.items():
        if not chosen.search(attack.__name__):
            continue
        with start(sys.argv[1]) as device:
            attack(device)
        print(f"held: {attack.__name__.replace('_', ' ')}", flush=True)
