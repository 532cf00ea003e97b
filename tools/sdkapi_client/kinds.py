"""The kinds of files that a device takes and gives, with their routes."""
from __future__ import annotations

from dataclasses import dataclass


@dataclass(frozen=True)
class UploadKind:
    """A kind of file, its route, and what the device expects."""

    path: str
    expects: str
    family: str


_PICTURE, _ARCHIVE, _CERTIFICATE = "a picture (PNG, JPEG or BMP)", "an archive that the device has exported", "a PEM file with certificate and key"

UPLOADS: dict[str, UploadKind] = {
    "logo": UploadKind("/upload/logo", _PICTURE, "image"),
    "bg": UploadKind("/upload/bg", _PICTURE, "image"),
    "sub-logo": UploadKind("/upload/sub/logo", _PICTURE, "image"),
    "sub-bg": UploadKind("/upload/sub/bg", _PICTURE, "image"),
    "sub-png": UploadKind("/upload/sub/png", _PICTURE, "image"),
    "setbgimage": UploadKind("/upload/sub/setbgimage", _PICTURE, "image"),
    "setbaseimage": UploadKind("/upload/sub/setbaseimage", _PICTURE, "image"),
    "priv": UploadKind("/upload/priv", _PICTURE, "image"),
    "scene": UploadKind("/upload/scene", "a scene (JSON)", "text"),
    "xyte": UploadKind("/upload/xyte", "a JSON file", "text"),
    "edid": UploadKind("/upload/edid", "EDID data (128 or 256 bytes)", "text"),
    "setting": UploadKind("/upload/setting", _ARCHIVE, "archive"),
    "settings": UploadKind("/api/v1/settings/import", _ARCHIVE, "archive"),
    "sub-upgrade": UploadKind("/upload/sub/upgrade", _ARCHIVE, "archive"),
    "https": UploadKind("/api/v1/security/https_setting", _CERTIFICATE, "certificate"),
    "802.1x": UploadKind("/api/v1/security/ieee802_1x_setting", _CERTIFICATE, "certificate"),
    "security": UploadKind("/upload/security", _CERTIFICATE, "certificate"),
    "sub-security": UploadKind("/upload/sub/security", _CERTIFICATE, "certificate"),
    "firmware": UploadKind("/api/v1/fw_upload", "a firmware container", "firmware"),
}

DOWNLOADS: dict[str, str] = {
    "log": "/api/v1/log",
    "custom": "/download/custom",
    "scene": "/download/scene",
    "edid": "/download/edid",
    "settings": "/api/v1/settings/export",
    "logo": "/download/logo",
}


def upload_kind(name: str) -> UploadKind:
    """The kind of this name; a path is a route of the device's own."""
    if name.startswith("/"):
        return UploadKind(name, "what this route of the device takes", "custom")
    return UPLOADS[name]


def download_path(name: str) -> str:
    """The route of this kind; a path is a route of the device's own."""
    return name if name.startswith("/") else DOWNLOADS[name]
