#!/usr/bin/python3
"""The README's tour with curl, run as it stands against the simulated device.

usage: tour.py SIMULATOR, in the repository's root
"""
import json
import pathlib
import re
import signal
import subprocess
import sys
import tempfile

from program import free_port, wait_for


def commands():
    page = pathlib.Path("README.md").read_text()
    return re.search(r"## A tour with curl.*?```sh\n(.*?)```", page, re.S).group(1)


def run(port, script):
    script = script.replace("http://localhost:8080", f"http://127.0.0.1:{port}").replace("curl ", "curl -sS ")
    # A mark behind each command tells the answers apart.
    script = "\n".join(line + "\necho '<end>'" for line in script.strip().splitlines())
    output = subprocess.run(["bash", "-euc", script], capture_output=True, text=True, check=True, timeout=60).stdout
    return [answer.strip() for answer in output.split("<end>\n")]


def main():
    port = free_port()
    with tempfile.TemporaryDirectory() as folder:
        arguments = [*sys.argv[1].split(), "--http-port", str(port), "--https-port", "0", "--data-dir", folder]
        with subprocess.Popen(arguments, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL) as process:
            try:
                wait_for(port, process)
                token, information, upload, download, log_out, rest = run(port, commands())
                assert token == "", token
                assert "model" in json.loads(information), information
                assert upload == "", upload
                assert download == "the same, byte for byte", download
                assert json.loads(log_out) == {"code": "0"}, log_out
                assert rest == "", rest
                process.send_signal(signal.SIGTERM)
                assert process.wait(60) == 0
            finally:
                process.kill()


main()
