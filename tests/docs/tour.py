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

from program import free_port, wait_for, wait_for_route


def blocks():
    """The steps, one block each."""
    section = re.search(r"## A tour with curl\n(.*?)\n## ", pathlib.Path("README.md").read_text(), re.S).group(1)
    return re.findall(r"```sh\n(.*?)```", section, re.S)


def run(port, steps):
    # A mark behind each step tells the answers apart.
    script = "".join(step + "echo '<end>'\n" for step in steps)
    script = script.replace("http://localhost:8080", f"http://127.0.0.1:{port}").replace("curl ", "curl -sS ")
    output = subprocess.run(["bash", "-euc", script], capture_output=True, text=True, check=True, timeout=60).stdout
    return [answer.strip() for answer in output.split("<end>\n")]


def main():
    port = free_port()
    with tempfile.TemporaryDirectory() as folder:
        arguments = [*sys.argv[1].split(), "--http-port", str(port), "--https-port", "0", "--data-dir", folder]
        with subprocess.Popen(arguments, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL) as process:
            try:
                wait_for(port, process)
                wait_for_route(port, "/metrics", process)
                log_in, changed, information, picture, log_out, rest = run(port, blocks())
                assert log_in == "", log_in
                assert json.loads(changed) == {"code": 0}, changed
                assert "model" in json.loads(information), information
                assert picture == "the same, byte for byte", picture
                assert json.loads(log_out) == {"code": "0"}, log_out
                assert rest == "", rest
                process.send_signal(signal.SIGTERM)
                assert process.wait(60) == 0
            finally:
                process.kill()


main()
