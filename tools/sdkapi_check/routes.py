"""The routes of the device API, as the check asks for them."""
from __future__ import annotations

from sdkapi_client.kinds import UPLOADS

from .wire import BROKEN_FORM, request

READ = ("/dev_info", "/getdevicetime", "/getTxRxList", "/getprivjson")
DOWNLOADS = ("/log", "/api/v1/log", "/download/custom", "/download/scene", "/download/edid", "/download/setting", "/api/v1/settings/export")
# These say no by the web server's own 404.
SETTINGS = ("/download/setting", "/api/v1/settings/export")
UPLOAD = tuple(kind.path for kind in UPLOADS.values())
WRITE = ("/change/password", "/change/usrorpasswd", "/createuser", "/deleteuser", "/specifypriv", "/delete_priv")
RESTORE = "/custom_restore"
LOGIN, LOGOUT, SWITCH, LOGO, STREAM = "/api/v1/auth/login", "/logout", "/iplogin", "/download/logo", "/stream"
# Refusals with the fixed body, where others answer 500 without one.
INVALID_FILE = ("/api/v1/fw_upload", "/api/v1/security/https_setting", "/api/v1/security/ieee802_1x_setting")
# Patterns that match longer paths, too, and those that do not.
LONGER_GET = ("/getTxRxList", "/download/custom", "/download/scene")
LONGER_UPLOAD = ("/upload/scene", "/upload/security", "/upload/sub/security", "/upload/sub/bg", "/upload/sub/logo", "/upload/sub/png",
                 "/upload/sub/setbgimage", "/upload/sub/setbaseimage", "/upload/sub/upgrade")
EXACT = (SWITCH, LOGIN, LOGOUT, *(path for path in (*READ, *DOWNLOADS, LOGO, *UPLOAD, *WRITE) if path not in (*LONGER_GET, *LONGER_UPLOAD)))
ALL = (SWITCH, LOGIN, LOGOUT, *READ, *DOWNLOADS, LOGO, *UPLOAD, *WRITE, RESTORE, STREAM, "/preview")


def probe(path: str, token: str | None) -> bytes:
    """A request that a device with this route answers, and that changes nothing on it, whatever the device does."""
    if path in UPLOAD or path.startswith(LONGER_UPLOAD):
        return request("POST", path, token, *BROKEN_FORM)
    if path in ("/specifypriv", "/delete_priv"):
        return request("GET", f"{path}?file=&hostname=", token)
    if path in WRITE:
        return request("POST", path, token, b"{}", "application/json")
    return request("POST" if path in (RESTORE, LOGOUT) else "GET", path, token)
