#!/usr/bin/python3
"""Every operation of the description, with examples and generated inputs: the real replies are as described.

usage: contract_test.py SIMULATOR
"""
import json
import sys

import jsonschema
import yaml
from hypothesis import HealthCheck, given, settings

import inputs
from device import Device, Reply, form, request, shared

EXAMPLES = 12
METHODS = ("get", "post", "put", "delete")
STREAM = 200_000

# Described answers that this device gives only when its disk, memory or database fails.
FAILURE = "only when the device itself fails"
UNREACHABLE = {
    ("logIn", "404"): "this device always gives a verdict", ("logIn", "500"): "an older login of the user makes room",
    ("createUser", "500"): FAILURE, ("deleteUser", "500"): FAILURE, ("restore", "500"): FAILURE, ("listUnits", "500"): FAILURE,
    ("listPrivileges", "500"): FAILURE, ("getDeviceInformation", "500"): "only while the device reboots",
    ("getDeviceTime", "500"): "only while the device reboots", ("downloadLog", "500"): FAILURE, ("downloadLogV1", "500"): FAILURE,
    ("downloadCustom", "500"): FAILURE, ("downloadLogo", "404"): "a built-in logo is always there",
    ("watchDevice", "404"): "the device's own picture is never refused",
}


def check_text(validator, schema, text, _):
    """A text that holds JSON is as its content is described; validators leave this to their callers."""
    try:
        yield from validator.descend(json.loads(text), schema)
    except ValueError as error:
        yield jsonschema.ValidationError(f"{text[:100]}: {error}")


Validator = jsonschema.validators.extend(jsonschema.Draft202012Validator, {"contentSchema": check_text})


class Contract:
    def __init__(self, program):
        self.program = program
        self.document = yaml.safe_load(shared("docs/api/openapi.yaml").read_text())
        self.resolver = jsonschema.RefResolver.from_schema(self.document)
        self.seen = set()

    def resolve(self, node):
        return self.resolver.resolve(node["$ref"])[1] if "$ref" in node else node

    def operations(self):
        for path, item in self.document["paths"].items():
            for method in METHODS:
                if method in item:
                    yield path, method, item[method]

    def check(self, operation, raw, sent):
        """The reply is one that the description has."""
        name = operation["operationId"]
        reply = Reply(raw)
        if reply.empty:
            assert "x-sdkapi-withheld" in operation, f"{name}: no answer to {sent[:300]}"
            return None
        status = str(reply.status)
        assert status in operation["responses"], f"{name}: {status} is not described, sent {sent[:300]}, got {raw[:300]}"
        self.seen.add((name, status))
        response = self.resolve(operation["responses"][status])
        self.check_content(f"{name} {status}", response, reply)
        return reply

    def check_content(self, where, response, reply):
        content = response.get("content")
        if reply.media == "multipart/x-mixed-replace":
            assert "multipart/x-mixed-replace" in content and b"\r\n\r\n--w00t\r\n" in reply.raw, where
            return
        body = reply.content()
        if body is None:
            assert "x-sdkapi-head-only" in response, f"{where}: a head without its body"
        elif content is None:
            assert body == b"", f"{where}: {body[:100]}"
        elif not (body == b"" and response.get("x-sdkapi-may-be-empty")):
            assert reply.media in content, f"{where}: {reply.media}"
            if reply.media == "application/json":
                Validator(content[reply.media]["schema"], resolver=self.resolver).validate(json.loads(body))

    def send(self, device, operation, method, target, body=(None, None), token=None):
        path, headers = target
        sent = request(method, path, token, *body, headers)
        return self.check(operation, device.exchange(sent, STREAM if "watch" in operation["operationId"] else 4 << 20), sent)

    def try_examples(self, device, path, method, operation):
        target = inputs.example_target(path, operation)
        for token in (device.token(), "", "nobody's token"):
            reply = self.send(device, operation, method, target, inputs.example_body(operation, self.resolve, device), token)
            secured = operation.get("security", True) != []
            assert not (secured and token != device.token_ and reply.status != 401), f"{operation['operationId']} asks for no token"

    def served_below(self, path):
        """Does the route serve what begins with its path? The device's own routes look at the whole URI."""
        return self.document["paths"][path]["x-sdkapi-match"] == "prefix" and "{" not in path and not path.startswith("/sim/")

    def try_generated(self, device, path, method, operation):
        @settings(max_examples=EXAMPLES, derandomize=True, deadline=None, database=None, suppress_health_check=list(HealthCheck))
        @given(inputs.targets(path, operation, self.resolve, self.served_below(path)), inputs.bodies(operation, self.resolve))
        def run(target, body):
            self.send(device, operation, method, target, body, device.token())

        run()

    def run(self, path, method, operation):
        """In a device of its own, prepared so that the example can succeed."""
        name = operation["operationId"]
        with Device(self.program) as device:
            if name in NEEDS and method == "get":
                self.send(device, operation, method, inputs.example_target(path, operation), token=device.token())
            prepare(device, name)
            self.try_examples(device, path, method, operation)
            self.try_generated(device, path, method, operation)
            for target, body in OTHER_REQUESTS.get(name, lambda: [])():
                self.send(device, operation, "post" if body else method, (target, {}), body or (None, None), device.token())

    def by_name(self, name):
        return next((path, method, operation) for path, method, operation in self.operations() if operation["operationId"] == name)

    def run_special_cases(self):
        with Device(self.program, "--no-auth") as device:
            path, method, operation = self.by_name("logOut")
            self.send(device, operation, method, (path, {}))

    def run_over_tls(self):
        with Device(self.program, tls=True) as device:
            for name in ("askWhetherLoginIsNeeded", "logIn", "getDeviceInformation", "uploadLogo", "downloadLogo", "watchDevice"):
                path, method, operation = self.by_name(name)
                self.send(device, operation, method, inputs.example_target(path, operation),
                          inputs.example_body(operation, self.resolve, device), device.token())

    def missing(self):
        described = {(operation["operationId"], status) for _, _, operation in self.operations() for status in operation["responses"]}
        yield from (f"{name} {status}: described, never seen" for name, status in sorted(described - self.seen - set(UNREACHABLE)))
        yield from (f"{name} {status}: called unreachable, but seen" for name, status in sorted(self.seen & set(UNREACHABLE)))


def upload(device, path, content, file_name="a.png"):
    reply = Reply(device.exchange(request("post", path, device.token(), *form(content, file_name))))
    assert reply.status == 200, (path, reply.raw[:200])


# What has to be there for the example to succeed.
NEEDS = {"bindPrivilege": ("/upload/priv", inputs.picture), "deletePrivilege": ("/upload/priv", inputs.picture),
         "listPrivileges": ("/upload/priv", inputs.picture), "downloadScene": ("/upload/scene", lambda: b"{}"),
         "downloadEdid": ("/upload/edid", inputs.edid), "downloadSimulatedFile": ("/upload/logo", inputs.picture),
         "downloadNote": ("/sim/upload", inputs.picture)}


def prepare(device, name):
    if name in NEEDS:
        path, content = NEEDS[name]
        upload(device, path, content())
    if name == "getSimulatedPreset":
        Reply(device.exchange(request("post", "/sim/presets/Evening", device.token(), b'{"action":"store"}', "application/json")))
    if name == "listRefusals":
        device.exchange(request("post", "/upload/logo", device.token(), *form(b"no picture")))
    if name == "deleteUser":
        Reply(device.exchange(request("post", "/createuser", device.token(),
                                      json.dumps({"username": "olga", "password": "Correct-Horse-7", "role": 2}).encode(), "application/json")))


# Requests beside the examples, for answers that generated inputs do not reach.
OTHER_REQUESTS = {
    "downloadSettings": lambda: [("/download/setting?method=bogus", None)],
    "exportSettings": lambda: [("/api/v1/settings/export?method=bogus", None)],
    "changeSimulatedUnit": lambda: [("/sim/units/TX01", (b"{", "application/json"))],
    "listSimulatedUnits": lambda: [("/sim/units", (b"{}", "application/json"))],
    "getSimulatedStatus": lambda: [("/sim/status", (b"{}", "application/json"))],
    "getSimulatedHealth": lambda: [("/sim/health", (b"{}", "application/json"))],
    "getSimulatedHistory": lambda: [("/sim/history?since=x", None), ("/sim/history", (b"{}", "application/json"))],
    "listSimulatedActs": lambda: [("/sim/audit?since=x", None), ("/sim/audit", (b"{}", "application/json"))],
    "getSimulatedMetrics": lambda: [("/metrics", (b"{}", "application/json"))],
    "downloadSimulatedFile": lambda: [("/sim/picture/priv?file=../edid.bin", None), ("/sim/picture/priv", None)],
    "getSimulatedFirmware": lambda: [("/sim/firmware", (b"{}", "application/json"))],
    "whoAmI": lambda: [("/sim/me", (b"{}", "application/json"))],
    "endSession": lambda: [("/sim/sessions", (b"{", "application/json")), ("/sim/sessions", (b'{"end":7777777}', "application/json"))],
    "listSimulatedPresets": lambda: [("/sim/presets", (b"{}", "application/json"))],
    "listRefusals": lambda: [("/sim/refusals", (b"{}", "application/json"))],
    "listSimulatedUsers": lambda: [("/sim/users", (b"{}", "application/json"))],
    "changeCertificates": lambda: [("/sim/certificates", (json.dumps(body).encode(), "application/json")) for body in (
        {"action": "discard"}, {"action": "discard"}, {"action": "request"}, {"action": "make"}, {"action": "request", "names": ["a"]})],
    "listSimulatedFiles": lambda: [("/sim/files", (b"{}", "application/json"))],
}


def main():
    contract = Contract(sys.argv[1])
    count = 0
    for path, method, operation in contract.operations():
        contract.run(path, method, operation)
        count += 1
    contract.run_special_cases()
    contract.run_over_tls()
    faults = list(contract.missing())
    print("\n".join(faults) or f"{count} operations, {len(contract.seen)} kinds of answers as described")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
