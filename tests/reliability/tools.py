"""Debian's slowhttptest and testssl.sh against the small host; what is not installed is left out."""
import os
import re
import shutil
import subprocess
import sys
import time

from server_process import Server

SLOW = {"slow headers": ["-H"], "slow bodies": ["-B"], "slow readers": ["-X", "-w", "10", "-y", "20"]}


def slow_clients(server):
    """The tool's own verdict counts connections only; an ordinary client is asked beside it."""
    for name, options in SLOW.items():
        tool = subprocess.Popen(["slowhttptest", *options, "-c", "40", "-r", "40", "-l", "8", "-i", "3",
                                 "-u", f"http://127.0.0.1:{server.http}/index.html"],
                                stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        longest = 0.0
        while tool.poll() is None:
            longest = max(longest, server.seconds_until_healthy())
            time.sleep(0.2)
        print(f"slowhttptest, {name}: an ordinary client waited {longest:.1f} s at the most")


def scan(server):
    """The lines of the scan that name a protocol or a cipher, without colours and blanks."""
    result = subprocess.run(["testssl", "--quiet", "--color", "0", "--ip", "one", "--protocols", "--each-cipher", "--warnings", "off",
                             f"127.0.0.1:{server.https}"], capture_output=True, text=True, timeout=280, check=False)
    lines = [re.sub(r"\s+", " ", line).strip() for line in result.stdout.splitlines()]
    return [line for line in lines if re.match(r"(SSLv|TLS |x[0-9a-f]{2})", line)]


def compare(server):
    folder = os.path.dirname(os.path.abspath(__file__))
    with open(f"{folder}/tls_scan.txt", encoding="ascii") as file:
        expected = [line.rstrip("\n") for line in file if not line.startswith("#")]
    got = scan(server)
    for line in got:
        print(("  " if line in expected else "! ") + line)
    assert got == expected, "the TLS scan differs from tests/reliability/tls_scan.txt"
    print(f"the TLS scan matches its {len(expected)} written lines")


def main():
    server = Server()
    if shutil.which("slowhttptest"):
        slow_clients(server)
    if shutil.which("testssl"):
        compare(server)
    assert server.stop() == 0


if __name__ == "__main__":
    sys.exit(main())
