"""Files that the simulated device takes."""
import pathlib
import subprocess
import tempfile

from device import shared


def picture():
    return shared("docs/images/login.png").read_bytes()


def edid():
    """A display of the maker "SAM" with a preferred timing of 1920x1080."""
    block = bytearray(127)
    block[:10] = bytes.fromhex("00ffffffffffff004c2d")
    block[18:20] = bytes([1, 4])
    block[54:62] = bytes.fromhex("023a801871382d40")
    return bytes(block) + bytes([-sum(block) % 256])


def certificate():
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", "key.pem", "-out", "cert.pem", "-days",
                        "2", "-subj", "/CN=device"], cwd=folder, check=True, capture_output=True)
        return b"".join((pathlib.Path(folder) / name).read_bytes() for name in ("cert.pem", "key.pem"))


def firmware(version="1.1.0", image=b"image" * 100, *options):
    """A container, signed for the simulated device."""
    with tempfile.TemporaryDirectory() as folder:
        path = pathlib.Path(folder) / "image"
        path.write_bytes(image)
        subprocess.run([shared("scripts/make-firmware"), "pack", version, path, *options], check=True, capture_output=True)
        return path.with_name("image.sdkfw").read_bytes()
