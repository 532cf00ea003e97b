#!/usr/bin/python3
"""Runs a command where programs for 64-bit Arm run as this machine's own, without a trace on the machine.

usage: emulated.py COMMAND [ARGUMENTS]     (as root; exit code 77 when that is not possible here, with the reason)

Where the machine has registered an emulator, that is it. Elsewhere the command gets namespaces of its own with a
registration of their own, which Linux has from version 6.7 on.
"""
import ctypes
import os
import pathlib
import signal
import sys

EMULATOR = "/usr/bin/qemu-aarch64-static"
FORMATS = pathlib.Path("/proc/sys/fs/binfmt_misc")
# The head of an ELF file for this processor, and which of its bits count.
MAGIC = r"\x7fELF\x02\x01\x01\x00\x00\x00\x00\x00\x00\x00\x00\x00\x02\x00\xb7\x00"
MASK = r"\xff\xff\xff\xff\xff\xff\xff\x00\xff\xff\xff\xff\xff\xff\xff\xff\xfe\xff\xff\xff"
# F: the emulator is opened now, and so need not be in any root.
REGISTRATION = f":qemu-aarch64:M::{MAGIC}:{MASK}:{EMULATOR}:F"
ALL_USERS = "0 0 65536"
CLONE_NEWNS, CLONE_NEWUSER, CLONE_NEWPID = 0x20000, 0x10000000, 0x20000000
MS_REC, MS_PRIVATE = 0x4000, 0x40000
PR_SET_PDEATHSIG = 1
SKIPPED = 77
libc = ctypes.CDLL(None, use_errno=True)


def skip(reason):
    print(f"skipped, no programs for 64-bit Arm here: {reason}", flush=True)
    os._exit(SKIPPED)


def must(result, what):
    if result != 0:
        raise OSError(ctypes.get_errno(), f"{what}: {os.strerror(ctypes.get_errno())}")


def mount(kind, place):
    must(libc.mount(kind.encode(), str(place).encode(), kind.encode(), 0, None), f"mount of {kind}")


def end_with_parent():
    must(libc.prctl(PR_SET_PDEATHSIG, signal.SIGKILL), "prctl")


def code_of(child):
    return os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) & 255


def begin(command):
    """In the namespaces, as the first process of theirs."""
    end_with_parent()
    must(libc.mount(None, b"/", None, MS_REC | MS_PRIVATE, None), "mounts of its own")
    mount("proc", "/proc")
    mount("binfmt_misc", FORMATS)
    (FORMATS / "register").write_text(REGISTRATION)
    try:
        os.execvp(command[0], command)
    except OSError as error:
        print(f"{command[0]}: {error}", file=sys.stderr, flush=True)
        os._exit(127)


def enter(made, mapped, command):
    """Makes the namespaces; once somebody outside has said which users there are, the command begins."""
    must(libc.unshare(CLONE_NEWUSER | CLONE_NEWNS | CLONE_NEWPID), "namespaces")
    os.write(made, b"1")
    os.read(mapped, 1)
    os.setgid(0)
    os.setuid(0)
    end_with_parent()
    child = os.fork()
    if child == 0:
        begin(command)
    os._exit(code_of(child))


def run_in_namespaces(command):
    """The users are the same as outside: the files that it leaves belong to whom it says."""
    has_made, made = os.pipe()
    mapped, map_done = os.pipe()
    child = os.fork()
    if child == 0:
        os.close(map_done)
        try:
            enter(made, mapped, command)
        except OSError as error:
            skip(error)
    os.close(made)
    if os.read(has_made, 1):
        for name in ("uid_map", "gid_map"):
            pathlib.Path(f"/proc/{child}/{name}").write_text(ALL_USERS)
    os.close(map_done)
    return code_of(child)


def main():
    command = sys.argv[1:]
    if os.geteuid() != 0:
        skip("it needs root")
    if (FORMATS / "qemu-aarch64").exists():
        os.execvp(command[0], command)
    sys.exit(run_in_namespaces(command))


main()
