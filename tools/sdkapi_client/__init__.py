"""Client of the device API: synchronous and asynchronous, typed, made to be imported."""
from .aio import AsyncClient
from .client import Client
from .errors import (BadReply, CertificateError, InvalidAddress, InvalidFile, LoginLocked, LoginRefused, NotAuthorised, NotOffered, Refused,
                     SdkapiError, TooLong, Unreachable)
from .kinds import DOWNLOADS, UPLOADS, UploadKind
from .models import DeviceInfo, Login, Privilege, Unit
from .operations import Operation, Reply
from .trust import Trust, certificate_of, fingerprint

__all__ = ["AsyncClient", "BadReply", "CertificateError", "Client", "DOWNLOADS", "DeviceInfo", "InvalidAddress", "InvalidFile", "Login",
           "LoginLocked", "LoginRefused", "NotAuthorised", "NotOffered", "Operation", "Privilege", "Refused", "Reply", "SdkapiError",
           "TooLong", "Trust", "UPLOADS", "Unit", "Unreachable", "UploadKind", "certificate_of", "fingerprint"]
