"""The memory of a device's process."""
import pathlib
import re


def peak_mebibytes(device):
    """The most that was resident since its start."""
    status = pathlib.Path(f"/proc/{device.process.pid}/status").read_text(encoding="ascii")
    return int(re.search(r"^VmHWM:\s+(\d+)", status, re.M).group(1)) / 1024
