#!/usr/bin/python3
"""`sdkapi check` on devices that are in order finds nothing, and says what they do not offer.

usage: check_test.py SIMULATOR MINIMAL KIT_MINIMAL
"""
import json
import re
import subprocess
import sys
from xml.etree import ElementTree

import faults
from device import Device
from files import firmware
from program import free_port, wait_for, wait_for_route
from proxy import Proxy
from support import PASSWORD, CommandLine

ALL = ("--write", "--rough", "--strict", "--route", "/sim/units", "--route", "upload:/sim/upload", "--route", "download:/sim/picture/logo", "--preview-seconds", "0.5")
OFFERED = ("events", "/stream", "/preview", "/log", "/api/v1/fw_upload", "/upload/logo", "/createuser", "/getTxRxList", "/iplogin")


def check(line, url, *options, password="admin"):
    """The results by subject and rule, after a run that must find nothing."""
    junit, page = line.home / "report.xml", line.home / "report.html"
    done = line.run("check", url, *options, "--json", "--junit", str(junit), "--html", str(page), SDKAPI_PASSWORD=password)
    found = json.loads(done.stdout)
    assert done.returncode == 0, (url, [result for result in found["results"] if result["state"] == "failed"])
    suites = ElementTree.parse(junit).getroot()
    assert len(list(suites.iter("testcase"))) == len(found["results"]) > 100 and not list(suites.iter("failure")), found["summary"]
    assert "Nothing was found." in page.read_text()
    return {(result["subject"], result["rule"]): result["state"] for result in found["results"]}


def states(results, state):
    return {subject for (subject, _), found in results.items() if found == state}


def check_simulated(program, line):
    required = [word for name in OFFERED for word in ("--require", name)]
    for tls in (False, True):
        with Device(program, tls=tls) as device:
            url = f"{'https' if tls else 'http'}://127.0.0.1:{device.port}"
            container = line.home / "new.sdkfw"
            container.write_bytes(firmware("1.3.0"))
            results = check(line, url, *ALL, *required, *([] if tls else ["--firmware", str(container)]))
            assert not states(results, "not offered"), states(results, "not offered")
            assert len(results) > 450, len(results)
            assert (("TLSv1.1", "is refused") in results) == tls
    with Device(program, "--no-auth") as device:
        results = check(line, f"http://127.0.0.1:{device.port}", *ALL)
        assert results[("logins", "tested")] == "not tested" and ("/dev_info", "no token is refused") not in results


def check_untouched(program, line):
    """Without --write the device is as before."""
    with Device(program) as device:
        before = files(device)
        results = check(line, f"http://127.0.0.1:{device.port}")
        assert files(device) == before and results[("files", "tested")] == "not tested"


def files(device):
    token = device.log_in()
    return device.exchange(f"GET /sim/files HTTP/1.1\r\nHost: d\r\nAuthorization: Bearer {token}\r\n\r\n".encode()).partition(b"\r\n\r\n")[2]


def check_minimal(program, line):
    port = free_port()
    with subprocess.Popen([program, str(port)], stderr=subprocess.DEVNULL) as process:
        try:
            wait_for(port, process)
            wait_for_route(port, "/hello", process)
            url = f"http://127.0.0.1:{port}"
            results = check(line, url, "--write", "--rough", "--strict", "--route", "/hello")
            empty = states(results, "not offered")
            assert {"/stream", "/log", "/upload/logo", "/createuser", "event channel", "/iplogin"} <= empty and "/dev_info" not in empty, empty
            line.fails(1, "does not speak the device API", "check", url, "--require", "/stream", SDKAPI_PASSWORD="admin")
            line.fails(1, "does not speak", "check", url, SDKAPI_PASSWORD="wrong")
        finally:
            process.terminate()


def check_kit(program):
    """The minimal host on the kit; its first password is printed, and good for being changed alone."""
    port = free_port()
    url = f"http://127.0.0.1:{port}"
    with CommandLine(url) as line, subprocess.Popen([program, "--http-port", str(port), "--data-dir", str(line.home / "kit")], text=True,
                                                    stdout=subprocess.PIPE, stderr=subprocess.DEVNULL) as process:
        try:
            told = [process.stdout.readline() for _ in range(4)]
            assert told[-1] == "ready\n", told
            first = re.fullmatch(r"first user: admin, password (\S+) \(until it is changed\)\n", told[0])[1]
            line.log_in(first)
            line.ok("users", "password", "--password-stdin", typed=f"{first}\n{PASSWORD}\n")
            results = check(line, url, "--write", "--rough", "--strict", "--route", "/hello", "--require", "/stream", "--require", "events", password=PASSWORD)
            empty = states(results, "not offered")
            assert {"/upload/scene", "/upload/xyte", "/upload/logo"} <= empty and not {"/upload/edid", "/download/edid", "/createuser"} & empty, empty
            line.fails(1, "does not speak the device API", "check", url, "--write", "--require", "/upload/xyte", SDKAPI_PASSWORD=PASSWORD)
        finally:
            process.terminate()


def check_reports(program, line):
    """A finding is in the table, in the XML and on the page, with request and answer, and without tokens and passwords."""
    fault = next(fault for fault in faults.ALL if fault.name == "a number where a text belongs")
    junit, page = line.home / "found.xml", line.home / "found.html"
    with Device(program) as device, Proxy(device, [fault]) as proxy:
        done = line.run("check", f"http://127.0.0.1:{proxy.port}", "--junit", str(junit), "--html", str(page), SDKAPI_PASSWORD="admin")
        tokens = [*proxy.issued, *proxy.ended]
    assert done.returncode == 1 and "FAILED" in done.stdout and "the members, their order and kinds" in done.stdout, done
    failure = next(ElementTree.parse(junit).getroot().iter("failure"))
    text = page.read_text()
    assert "GET /dev_info HTTP/1.1" in failure.text and '"timeout":43200' in failure.text and "a member is empty or no text" in failure.get("message")
    assert "<b>Request</b><pre>GET /dev_info HTTP/1.1" in text and "timeout&quot;:43200" in text and "http://" in text
    assert len(tokens) > 2 and not [token for token in tokens if token in text + junit.read_text() + done.stdout]


def main():
    simulator, minimal, kit = sys.argv[1:]
    with CommandLine() as line:
        check_simulated(simulator, line)
        check_untouched(simulator, line)
        check_minimal(minimal, line)
        check_kit(kit)
        check_reports(simulator, line)
        line.fails(2, "is no route", "check", "http://127.0.0.1:1", "--route", "sim", SDKAPI_PASSWORD="x")
        line.fails(4, "no connection", "check", f"http://127.0.0.1:{free_port()}", SDKAPI_PASSWORD="x")
    print("nothing found on devices that are in order")


main()
