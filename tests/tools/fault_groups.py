"""More faults, of which a device has several at a time: each is found by its own rule, whatever else is wrong."""
import json
import re

from faults import (NOT_FOUND, NOTHING, ROUGH, UPLOADED, always, also, at, body, channel_with, composed, ended, every, frames, fresh, lacks_token, login_of,
                    only, protocol, rechunked, swap, unchunked, with_good_token)
from proxy import Fault

REFUSED = always(composed(401, b"Unauthorized"))
NO_METHOD = always(composed(405, b"Method Not Allowed"))


def named_otherwise(request):
    return request.path == "/api/v1/auth/login" and b'"UserName"' in request.body and request.method == "POST" and len(request.body) < 400


def shorter(size):
    """A download of which the device kept so much."""
    def damage(request, reply):
        head, _, rest = reply.partition(b"\r\n\r\n")
        return rechunked(1500)(request, head + b"\r\n\r\n%x\r\n" % size + unchunked(rest)[:size] + b"\r\n0\r\n\r\n") if len(unchunked(rest)) > size else reply
    return only(200, damage)


def pongs(change):
    """Damages the pongs, whose payload is not longer than 125 bytes."""
    return frames(lambda data: re.sub(rb"(?s)\x8a([\x08\x7d])", lambda found: change(found.group(1)), data))


def masked(size):
    """With a mask that changes nothing."""
    return b"\x8a" + bytes([size[0] | 128, 0, 0, 0, 0])


def repeated_token(request, reply):
    """The third login and those behind it get the token of the second, whose login has ended."""
    issued = request.proxy.issued
    return reply.replace(issued[-1].encode(), issued[2].encode()) if len(issued) > 3 and b"UserName" in request.body else reply


def has_old_password(request):
    """A login with the password that the user had before it was changed."""
    state = request.proxy.state
    if request.path == "/change/password" and b'"oldpassword":"wrong"' not in request.body.replace(b' ', b'') and b'oldpassword' in request.body:
        state["old"], state["new"] = (json.loads(request.body)[name].encode() for name in ("oldpassword", "newpassword"))
    return request.path == "/api/v1/auth/login" and state.get("old", b"\0") in request.body


def with_new_password(request):
    request.body = request.body.replace(request.proxy.state["old"], request.proxy.state["new"])
    return request.head


CHANNEL = channel_with(lambda request: True)
UNTOUCHED = [
    Fault("headers in small letters", "/dev_info: the reply is composed", at("/dev_info", method="GET"), reply=swap(b"Cache-Control:", b"cache-control:")),
    Fault("a query that makes a path another", "/getdevicetime: a query makes no", lambda request: request.target.startswith("/getdevicetime?"), answer=always(NOT_FOUND)),
    Fault("a length with a zero before it", "/getprivjson: the reply", at("/getprivjson"), reply=swap(b"Content-Length: ", b"Content-Length: 0")),
    Fault("a challenge in a refusal", "/log: no token is refused", at("/log"), reply=only(401, swap(b"Connection: close", b"WWW-Authenticate: Bearer\r\nConnection: close"))),
    Fault("JSON that says that it is XML", "/getTxRxList: the reply", lambda request: request.target == "/getTxRxList", reply=swap(b"application/json", b"application/xml")),
    Fault("a prefix route below which everybody is let in", "/getTxRxList/below: no token", lacks_token("/getTxRxList/below"), request=with_good_token),
    Fault("POST past the gate", "/api/v1/log: no token is refused to POST", lambda request: request.path == "/api/v1/log" and request.method == "POST" and not request.token, request=with_good_token),
    Fault("PUT past the gate", "/download/scene: no token is refused to PUT", lambda request: request.path == "/download/scene" and request.method == "PUT", request=with_good_token),
    Fault("an own route for an ended login", "/sim/units: an ended login's token", ended("/sim/units"), request=with_good_token),
    Fault("an own route that POST opens", "/sim/units: no token is refused to POST", lambda request: request.path == "/sim/units" and request.method == "POST" and not request.token, request=with_good_token),
    Fault("a picture that minds tokens", "/download/logo: a token makes no", lambda request: request.path == "/download/logo" and request.token == "sdkapi-check", answer=REFUSED),
    Fault("a download that wants GET", "/download/custom: POST is answered", lambda request: request.path == "/download/custom" and request.method == "POST" and request.token, answer=NO_METHOD),
    Fault("an exact download that matches more", "/download/logox: exact", at("/download/logox"), request=lambda request: request.head.replace(b"logox", b"logo")),
    Fault("an upload below which there is nothing", "/upload/security: paths below", lambda request: request.path == "/upload/security/below" and request.token, answer=always(NOT_FOUND)),
    Fault("text that is taken for a form", "/upload/xyte: a body that is no form", lambda request: request.path == "/upload/xyte" and request.header("Content-Type") == "text/plain", answer=lambda request: fresh(b"")),
]
LOGINS = [
    Fault("a prefix route that wants a slash", "/getTxRxList: paths below are served, too (x)", lambda request: request.path == "/getTxRxListx" and request.token, answer=always(NOT_FOUND)),
    Fault("members' names in one case only", "/api/v1/auth/login: the case of", named_otherwise, answer=lambda request: fresh(b'{"code":1}')),
    Fault("a body cut at 400 bytes", "/api/v1/auth/login: a body of 511", lambda request: request.path == "/api/v1/auth/login" and len(request.body) == 511, answer=lambda request: fresh(b'{"code":1}')),
    Fault("a logout that wants POST", "/logout: GET ends", lambda request: request.path == "/logout" and request.method == "GET" and request.token, answer=NO_METHOD),
    Fault("no answer to a number for a name", "/api/v1/auth/login: members that are no texts", login_of(lambda value: value.get("username") == 5), answer=always(NOTHING)),
    Fault("a header's name in capitals only", "Authorization: the case", lambda request: b"\r\nauthorization: " in request.head, answer=REFUSED),
    Fault("a time-out of -1", "/dev_info: the members", at("/dev_info"), reply=only(200, body(lambda content: content.replace(b'"43200"', b'"-1"')))),
    Fault("a preview that minds tokens", "/preview/TX01: a token makes no", also("/preview/TX01", lambda request: request.token == "sdkapi-check"), answer=REFUSED),
    Fault("a stream below which there is nothing", "/stream: paths below are served, too (/2)", at("/stream/2"), answer=always(NOT_FOUND)),
    Fault("a stream's length before its type", "/preview/TX01: each picture framed", at("/preview/TX01"),
          stream=lambda request, piece, state: re.sub(rb"(Content-Type: image/jpeg\r\n)(Content-Length: \d+\r\n)", rb"\2\1", piece)),
    Fault("an extension that nobody asked for", "/ws: the handshake", CHANNEL, stream=lambda request, piece, state: piece.replace(b"Upgrade: websocket\r\n", b"Upgrade: websocket\r\nSec-WebSocket-Extensions: permessage-deflate\r\n", 1)),
]
METHODS = [
    Fault("a login that wants POST", "/api/v1/auth/login: the method", at("/api/v1/auth/login", method="PUT"), answer=NO_METHOD),
    Fault("a token that comes back", "/api/v1/auth/login: an ended login's token", at("/api/v1/auth/login"), reply=repeated_token),
    Fault("a version that is not spoken", "/ws: an older version", lambda request: request.path == "/ws" and request.header("Sec-WebSocket-Version") == "12",
          request=lambda request: request.head.replace(b"Version: 12", b"Version: 13")),
    Fault("a handshake without a key", "/ws: a handshake without a key", lambda request: request.path == "/ws" and b"X-Key" in request.head, request=lambda request: request.head.replace(b"X-Key", b"Sec-WebSocket-Key")),
    Fault("a pong with a mask", "/ws: a ping is answered", CHANNEL, stream=pongs(masked)),
]
BITS = [Fault("a pong with reserved bits", "/ws: a ping is answered", CHANNEL, stream=pongs(lambda size: b"\xca" + size))]
PINGS = [Fault("a long ping without an answer", "/ws: a ping of 125 bytes", CHANNEL, stream=frames(lambda data: re.sub(rb"(?s)\x8a\x7d.{125}", b"", data)))]
LONG = [
    Fault("lengths of frames in eight bytes", "/ws: an event is one whole", CHANNEL,
          stream=frames(lambda data: re.sub(rb"(?s)^\x81\x7e(..)", lambda found: b"\x81\x7f" + bytes(6) + found.group(1), data))),
    Fault("a login that outlives a broken connection", "/ws: a connection that breaks off", lambda request: request.path == "/dev_info" and any(
        protocol(other) == request.token for other, *_ in request.proxy.channels[1:]) and request.token not in request.proxy.issued[:1], request=with_good_token),
]
WRITTEN = [
    Fault("an old password that goes on working", "/change/password: the old password", has_old_password, request=with_new_password, options=UPLOADED),
    Fault("an upload cut behind its first piece", "/download/logo: the file that", at("/download/logo"), reply=shorter(32768), options=UPLOADED),
    Fault("line breaks that change on their way", "/download/scene: the file that", at("/download/scene"), reply=only(200, lambda request, reply: reply.replace(b'{"', b'{\n"', 1)), options=UPLOADED),
    Fault("a change without the old password", "/change/password: a wrong old", lambda request: request.path == "/change/password" and b'"wrong"' in request.body,
          answer=lambda request: fresh(b'{\n\t"code":\t0\n}'), options=UPLOADED),
    Fault("a user who is not there as a failure", "/deleteuser: a user who is not there", at("/deleteuser"), reply=only(200, lambda request, reply: NOT_FOUND if b'"code":0' not in reply else reply), options=UPLOADED),
    Fault("no answer to a user of no JSON", "/createuser: a body that is not JSON", lambda request: request.path == "/createuser" and request.body == b"{", answer=always(NOTHING), options=UPLOADED),
    Fault("an own upload that POST opens", "/sim/upload: no token is refused to POST", lambda request: request.path == "/sim/upload" and request.method == "POST" and not request.token,
          request=with_good_token, options=UPLOADED),
    Fault("a restore for everybody below its route", "/custom_restore/below: no token", at("/custom_restore/below"), answer=lambda request: fresh(b""), options=UPLOADED),
]
BROKEN_OFF = [
    Fault("a second picture without its end", "/stream: each picture is a whole", at("/stream"), stream=every(b"\xff\xd9\r\n\r\n", b"\x00\x01\r\n\r\n"), options=ROUGH),
    Fault("a head of 70,000 bytes answered", "server: a head of 70,000", lambda request: b"X: aaaaaaaa" in request.head, answer=lambda request: fresh(b""), options=ROUGH),
    Fault("no JSON that is deep", "/api/v1/auth/login: a body of 400 brackets", lambda request: request.body == b"[" * 400, answer=always(composed(500, b"Internal Server Error")), options=ROUGH),
    Fault("a body of zeros without an answer", "/api/v1/auth/login: a body of zeros", lambda request: request.path == "/api/v1/auth/login" and request.body[:1] == b"\0", answer=always(NOTHING), options=ROUGH),
]
ALL = [UNTOUCHED, LOGINS, METHODS, BITS, PINGS, LONG, WRITTEN, BROKEN_OFF]
