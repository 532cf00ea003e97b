"""The names that a device gives its files."""
from __future__ import annotations

import re


def safe_name(disposition: str, fallback: str) -> str:
    """The file name in a Content-Disposition, without anything that leads elsewhere."""
    found = re.search(r'filename="([^"]*)"', disposition)
    name = re.sub(r"[\x00-\x1f\x7f]", "_", (found.group(1) if found else "").replace("\\", "/").rpartition("/")[2]).lstrip(".")
    return name or fallback
