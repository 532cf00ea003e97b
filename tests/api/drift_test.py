#!/usr/bin/python3
"""The descriptions and the route tables say the same, both ways.

usage: drift_test.py SOURCES
"""
import pathlib
import re
import sys

import yaml

ROOT = pathlib.Path(sys.argv[1])


def read(name):
    return (ROOT / name).read_text()


def library_routes():
    """The patterns of the table in the server."""
    table = read("src/http/routes.cpp")
    return re.findall(r'^\s+\{"(/[^"]*)", \w+, nullptr\},$', table, re.M)


def simulator_routes():
    """The patterns that the simulated device registers."""
    text = "".join(path.read_text() for path in ROOT.glob("examples/simulator/*.cpp"))
    return re.findall(r'SdkAPISer_Custom_\w+_Api_Add\("(/[^"]*)"', text)


def guide_routes():
    """The patterns of the route page, with the mark of an exact one."""
    rows = re.findall(r"^\| \d+ \| `(/[^`]*)` \| (exact|prefix) \|", read("docs/routes.md"), re.M)
    return [path + ("$" if match == "exact" else "") for path, match in rows]


def described_routes(items):
    return [item["x-sdkapi-route"] for item in items]


def faults(name, here, there):
    for pattern in sorted(set(here) ^ set(there)):
        yield f"{name}: {pattern} is only in {'the first' if pattern in here else 'the second'}"


def shape_faults(paths):
    """The described path and match follow from the pattern."""
    for path, item in paths.items():
        pattern, match = item["x-sdkapi-route"], item["x-sdkapi-match"]
        if (match == "exact") != pattern.endswith("$"):
            yield f"{path}: {match} does not fit {pattern}"
        if not path.startswith(pattern.rstrip("$")) or (match == "exact" and path != pattern[:-1]):
            yield f"{path}: not served by {pattern}"


def simulator_channel():
    return re.findall(r'kWebSocketUrl = "([^"]+)"|kWebSocketUrl\[\] = "([^"]+)"', "".join(
        path.read_text() for path in [*ROOT.glob("examples/simulator/*.h"), *ROOT.glob("examples/simulator/*.cpp")]))[0]


def main():
    paths = yaml.safe_load(read("docs/api/openapi.yaml"))["paths"]
    channels = yaml.safe_load(read("docs/api/asyncapi.yaml"))["channels"]
    library, simulator = library_routes(), simulator_routes()
    assert len(library) == 43 and len(simulator) >= 7, (len(library), len(simulator))
    found = [*faults("route table and description", library + simulator, described_routes(paths.values())),
             *faults("route table and docs/routes.md", library, guide_routes()),
             *faults("WebSocket URL and description", [url for url in simulator_channel() if url], [c["address"] for c in channels.values()]),
             *shape_faults(paths)]
    print("\n".join(found) or f"{len(library)} + {len(simulator)} routes described")
    return 1 if found else 0


sys.exit(main())
