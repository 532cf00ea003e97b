#!/usr/bin/python3
"""The list of parts is complete, its references lead somewhere, and its hashes are those of the packages.

usage: check_sbom.py FOLDER
"""
import hashlib
import json
import pathlib
import re
import sys

folder = pathlib.Path(sys.argv[1])
(file,) = folder.glob("*.cdx.json")
bill = json.loads(file.read_text())
assert (bill["bomFormat"], bill["specVersion"], bill["version"]) == ("CycloneDX", "1.5", 1)
assert re.fullmatch(r"urn:uuid:[0-9a-f-]{36}", bill["serialNumber"])
parts = bill["components"]
references = [part["bom-ref"] for part in parts] + [bill["metadata"]["component"]["bom-ref"]]
assert len(references) == len(set(references))
for part in parts:
    assert part["name"] and part["version"] and part["type"] in ("library", "application"), part
graph = {entry["ref"]: entry["dependsOn"] for entry in bill["dependencies"]}
assert set(graph) <= set(references) and all(set(needed) <= set(references) for needed in graph.values())
names = {part["name"] for part in parts}
assert {"civetweb", "libcjson1", "libssl3", "libc6", "libsqlite3-0", "libsodium23"} <= names, names
packages = {path.name.partition("_")[0]: path for path in folder.glob("*.deb") if "-dbgsym_" not in path.name}
built = {"libsdkapi1", "libsdkapi-dev", "libsdkapi-kit1", "libsdkapi-kit-dev", "sdkapi-simulator", "sdkapi-tools"}
assert set(packages) == built <= names, packages
for part in parts:
    if part["name"] in packages:
        assert part["hashes"] == [{"alg": "SHA-256", "content": hashlib.sha256(packages[part["name"]].read_bytes()).hexdigest()}]
print(f"{len(parts)} parts, {len(graph)} of them with what they need")
