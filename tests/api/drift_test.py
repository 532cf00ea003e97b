#!/usr/bin/python3
"""The descriptions, the route page, the tools and the route tables say the same, both ways; the messages' examples fit their schemas.

usage: drift_test.py SOURCES
"""
import pathlib
import re
import sys

import jsonschema
import yaml

ROOT = pathlib.Path(sys.argv[1])
METHODS = ("get", "put", "post", "delete", "patch", "head", "options", "trace")


def read(name):
    return (ROOT / name).read_text()


def library_routes():
    """The patterns of the table in the server."""
    table = re.search(r"constexpr RouteRow cmdList\[\] = \{(.*?)\n\};", read("src/http/routes.cpp"), re.S).group(1)
    return re.findall(r'\{"([^"]*)"', table)


def simulator_sources():
    return "".join(path.read_text() for path in sorted(ROOT.glob("examples/simulator/**/*.cpp")))


def simulator_routes():
    """The patterns that the simulated device registers, and the number of calls, so that none is overlooked."""
    text = simulator_sources()
    return re.findall(r'SdkKitAccounts_\w+_Add\("([^"]*)"', text), len(re.findall(r"SdkKitAccounts_\w+_Add\(|_Api_Add\(", text))


def guide_routes():
    """The patterns of the route page, with the mark of an exact one."""
    rows = re.findall(r"^\| \d+ \| `([^`]*)` \| (exact|prefix) \|", read("docs/routes.md"), re.M)
    return [path + ("$" if match == "exact" else "") for path, match in rows]


def custom_routes_of_page():
    """The device's own routes as its page has them: paths without the names in capitals."""
    section = read("docs/simulator.md").partition("## The device's own routes")[2].partition("\n## ")[0]
    return {re.sub(r"/?[A-Z]+$", "", path) for path in re.findall(r"^\| `(/[^`]*)` \|", section, re.M)}


def tool_routes():
    """The paths that the client library and the conformance check know."""
    return set(re.findall(r'"(/[\w/]+)"', read("tools/sdkapi_client/kinds.py") + read("tools/sdkapi_check/routes.py")))


def kinds_of_library():
    """Number and name of the kind of file by URI, from the tables and the public enumerations."""
    numbers = dict(re.findall(r"\b(k\w+) = (-?\d+)", read("include/sdkapi/host.h")))
    rows = re.findall(r'\{"([^"]+?)\$?", (?:\w+, nullptr, )?(k\w+)\}', read("src/http/routes.cpp"))
    return {uri: (int(numbers[name]), name) for uri, name in rows if name != "kUploadUnnamed"}


def kinds_of_page():
    rows = re.findall(r"^\| `([^`]+)` \| `\w+` \| (\d+) \| `(k\w+)` \|", read("docs/routes.md"), re.M)
    return {uri: (int(number), name) for uri, number, name in rows}


def kind_faults(paths):
    """The page names every kind; the description has the number of each route that takes a file of a kind, and -1 where none is named."""
    library = kinds_of_library()
    yield from faults("the table of kinds", "docs/routes.md", library.items(), kinds_of_page().items())
    if not library:
        yield "no kind of file was read"
    for item in paths.values():
        uri = item["x-sdkapi-route"].rstrip("$")
        expected = library.get(uri, (-1 if uri == "/upload/setting" else None, ""))[0]
        if item.get("x-sdkapi-upload-kind") != expected:
            yield f"{uri}: x-sdkapi-upload-kind is {item.get('x-sdkapi-upload-kind')}, not {expected}"


def faults(first, second, here, there):
    yield from (f"{pattern}: in {first}, not in {second}" for pattern in sorted(set(here) - set(there)))
    yield from (f"{pattern}: in {second}, not in {first}" for pattern in sorted(set(there) - set(here)))


def doubles(name, patterns):
    yield from (f"{pattern}: twice in {name}" for pattern in sorted({one for one in patterns if patterns.count(one) > 1}))


def tags(item):
    return {tag for method in METHODS if method in item for tag in item[method]["tags"]}


def of_the_device(item):
    """Whether the simulated device brings the route, not the library."""
    return tags(item) == {"Simulated device"}


def shape_faults(paths):
    """The described path and match follow from the pattern; operations that take any method say so."""
    for path, item in paths.items():
        pattern, match = item["x-sdkapi-route"], item["x-sdkapi-match"]
        exact, plain = pattern.endswith("$"), re.sub(r"/?\{\w+\}$", "", path)
        if match != ("exact" if exact else "prefix"):
            yield f"{path}: {match} does not fit {pattern}"
        if plain != pattern.rstrip("$/"):
            yield f"{path}: not what {pattern} serves"
        if exact and "{" in path:
            yield f"{path}: {pattern} serves one URI only"
        if pattern.startswith("/sim/") and not of_the_device(item):
            yield f"{path}: tags {sorted(tags(item))}"


def example_faults(events):
    """A linter does not compare a message's examples with its payload."""
    resolver = jsonschema.RefResolver.from_schema(events)
    for name, message in events["components"]["messages"].items():
        validator = jsonschema.Draft7Validator(message["payload"], resolver=resolver)
        for example in message.get("examples", []):
            yield from (f"{name}: {error.message}" for error in validator.iter_errors(example["payload"]))
        if not message.get("examples"):
            yield f"{name}: no example"


def open_answers(node, where=""):
    """An answer whose object may have other members describes nothing: what a client reads is named."""
    if isinstance(node, dict):
        if node.get("type") == "object" and "properties" in node and not {"additionalProperties", "unevaluatedProperties"} & set(node):
            yield f"{where}: an answer may hold anything"
        for name, value in node.items():
            yield from open_answers(value, f"{where}/{name}")


def answers(paths):
    return {path: {method: item[method]["responses"] for method in METHODS if method in item} for path, item in paths.items()}


def main():
    document = yaml.safe_load(read("docs/api/openapi.yaml"))
    paths, shared_answers = document["paths"], document["components"]["responses"]
    events = yaml.safe_load(read("docs/api/asyncapi.yaml"))
    library, (simulator, calls) = library_routes(), simulator_routes()
    socket_url = re.search(r'kWebSocketUrl = "([^"]+)"', simulator_sources()).group(1)
    described, of_device = ([item["x-sdkapi-route"] for item in paths.values() if of_the_device(item) == own] for own in (False, True))
    found = [*faults("the route table", "the description", library, described),
             *faults("the simulated device", "the description", simulator, of_device),
             *faults("the route table", "docs/routes.md", library, guide_routes()),
             *faults("the route table", "the tools", {one.rstrip("$") for one in library}, tool_routes()),
             *faults("the simulated device", "docs/simulator.md", {one.rstrip("$/") for one in simulator}, custom_routes_of_page()),
             *faults("the simulated device", "the events' description", [(socket_url, socket_url + "$")],
                     [(one["address"], one["x-sdkapi-route"]) for one in events["channels"].values()]),
             *doubles("the route table", library), *doubles("docs/routes.md", guide_routes()),
             *shape_faults(paths), *kind_faults(paths), *example_faults(events), *open_answers(answers(paths)), *open_answers(shared_answers)]
    if not library or calls != len(simulator):
        found.append(f"{len(library)} routes of the library, {len(simulator)} of {calls} of the simulated device were read")
    print("\n".join(map(str, found)) or f"{len(library)} + {len(simulator)} routes and the channel are described")
    return 1 if found else 0


sys.exit(main())
