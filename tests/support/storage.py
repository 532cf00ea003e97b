"""Storage that fails or is cut off on command, under a device that has the library failing_storage preloaded."""
import errno
import mmap
import os
import struct
import tempfile

FULL, BROKEN = (errno.ENOSPC, 1), (errno.EIO, 0)  # a disk that stays full; one call that fails
CUT_OFF = (-1, 0)  # the power goes: the process is killed in place of the call


class Storage:
    """Tells the preloaded library which call fails."""

    def __init__(self, library):
        self.file = tempfile.NamedTemporaryFile()
        self.file.write(bytes(16))
        self.file.flush()
        self.command = mmap.mmap(self.file.fileno(), 16)
        self.environment = {**os.environ, "LD_PRELOAD": library, "FAILING_STORAGE": self.file.name}

    def fail(self, call, fault):
        self.command[:] = struct.pack("4i", call, *fault, 0)

    def work(self):
        """Ends the failures; whether there was one."""
        hits = struct.unpack("4i", self.command[:])[3]
        self.command[:] = bytes(16)
        return hits > 0
