#!/usr/bin/python3
"""The check finds every deliberate fault, by the rule that is meant to find it, and nothing without one.

usage: mutation_test.py SIMULATOR MINIMAL [NAME]
"""
import concurrent.futures
import pathlib
import shutil
import signal
import ssl
import subprocess
import sys
import tempfile
import time
import warnings

import fault_groups
import faults
from device import Device, shared
from files import certificate
from program import free_port, wait_for, wait_for_route
from proxy import Fault, Proxy, server_context

sys.path.insert(0, str(shared("tools")))
from sdkapi_check.run import check  # noqa: E402
from sdkapi_check.target import Options  # noqa: E402
from sdkapi_check.wire import Endpoint  # noqa: E402

WORKERS = 4
OWN = ("/sim/units", "upload:/sim/upload", "download:/sim/picture/logo")
ENOUGH = 60


class MinimalHost(Device):
    """The minimal host, behind which stands the fixed room of the library."""

    def __init__(self, program):
        self.folder, self.port, self.tls = tempfile.TemporaryDirectory(), free_port(), False
        self.process = subprocess.Popen([program, str(self.port)], cwd=self.folder.name, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        wait_for(self.port, self.process)
        wait_for_route(self.port, "/hello", self.process)


def options(fault):
    chosen = {key: value for key, value in fault.options.items() if key in ("write", "rough", "require")}
    custom = () if "host" in fault.options else OWN if chosen.get("write") else OWN[:1]
    return Options(custom=custom, preview_seconds=0.4, **chosen)


def trusting():
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_CLIENT)
    context.check_hostname, context.verify_mode = False, ssl.CERT_NONE
    return context


def device_for(programs, template, fault):
    simulator, minimal = programs
    return MinimalHost(minimal) if fault.options.get("host") == "minimal" else Device(simulator, copy_of=template)


def findings(programs, template, group):
    """What the check says to a device with these faults, which share their options."""
    fault = group[0]
    tls = fault.options.get("tls")
    context = tls(pathlib.Path(tempfile.mkdtemp(dir=template.parent))) if tls else None
    with device_for(programs, template, fault) as device, Proxy(device, group, context, fault.options.get("limit")) as proxy:
        endpoint = Endpoint(f"{'https' if tls else 'http'}://127.0.0.1:{proxy.port}", trusting() if tls else None, timeout=fault.options.get("timeout", 5.0))
        report = check(endpoint, options(fault))
    return [(f"{result.subject}: {result.rule}", result.detail) for result in report.failed()], len(report.results)


def run(task):
    programs, template, index = task
    begin = time.monotonic()
    found, rules = findings(programs, template, ALL[index])
    return index, found, rules, time.monotonic() - begin


def sound(**options):
    return Fault("", "", lambda request: False, options=options)


NAMED = [[fault] for fault in faults.ALL] + fault_groups.ALL
ALL = [*NAMED, [sound()], [sound(write=True, rough=True)], [sound(tls=faults.sound_tls)], [sound(**faults.REFUSING)]]


def template_of(program, folder):
    """A device's files, made once: its key takes time."""
    device = Device(program)
    device.log_in()
    device.stop()
    return shutil.copytree(device.folder.name, folder / "template")


def faulty(group, found, rules):
    """What is wrong with this result."""
    if not group[0].name:
        return [f"without a fault: {found}"] if found or rules < 100 else []
    hidden = [fault for fault in group if not any(fault.finds in rule for rule, _ in found)]
    return [f"not found: {fault.name} ({fault.finds}); instead {[rule for rule, _ in found][:9]}" for fault in hidden]


def main():
    signal.alarm(900)
    programs, wanted = sys.argv[1:3], sys.argv[3] if len(sys.argv) > 3 else ""
    names = [fault.name for group in NAMED for fault in group]
    assert len(set(names)) == len(names) >= ENOUGH, [name for name in names if names.count(name) > 1]
    chosen = [index for index, group in enumerate(ALL) if any(wanted in fault.name for fault in group)]
    wrong = []
    with tempfile.TemporaryDirectory() as name, concurrent.futures.ProcessPoolExecutor(WORKERS) as pool:
        template = template_of(programs[0], pathlib.Path(name))
        for index, found, rules, seconds in pool.map(run, [(programs, template, index) for index in chosen]):
            texts, names = faulty(ALL[index], found, rules), ", ".join(fault.name for fault in ALL[index])
            if wanted or texts or seconds > 8:
                print(f"{names or 'sound'}: {texts or 'found'} in {seconds:.1f} s" + "".join(f"\n    {rule}: {detail[:160]}" for rule, detail in found), flush=True)
            wrong += texts
    count = sum(bool(fault.name) for index in chosen for fault in ALL[index])
    print(f"{count - len([text for text in wrong if text.startswith('not found')])} of {count} faults found, {len(wrong)} complaints")
    return 1 if wrong else 0


if __name__ == "__main__":
    warnings.simplefilter("ignore", DeprecationWarning)
    sys.exit(main())
