"""What the contract test sends: the described examples and generated inputs."""
import json

from hypothesis import strategies as st

from device import Reply, form, quote, request
from files import certificate, edid, firmware, picture


def settings(device):
    """What the device exports, without the chunks around it."""
    return Reply(device.exchange(request("get", "/download/setting", device.token()))).content()


def good_file(operation_id, device):
    """A file that this upload takes."""
    if "ertificate" in operation_id:
        return certificate()
    if "ettings" in operation_id or "Archive" in operation_id:
        return settings(device)
    return {"uploadEdid": edid, "uploadFirmware": firmware, "uploadScene": lambda: b'{"scene":1}', "uploadXyte": lambda: b"{}"}.get(
        operation_id, picture)()


def texts(schema, resolve):
    """Texts around the described length, with everything that text may hold."""
    longest = resolve(schema).get("maxLength", 40)
    return st.one_of(st.text(max_size=min(longest, 60)), st.just("x" * longest), st.just("y" * (longest + 50)), st.just("\u00e9\U0001f3a5"))


ANYTHING = st.recursive(st.none() | st.booleans() | st.integers(-2**40, 2**40) | st.floats(allow_nan=False) | st.text(max_size=30),
                        lambda inner: st.lists(inner, max_size=3) | st.dictionaries(st.text(max_size=8), inner, max_size=3), max_leaves=5)


def members(schema, resolve):
    """Objects of this schema, with members missing and of other types."""
    properties = {name: texts(part, resolve) | ANYTHING for name, part in resolve(schema)["properties"].items()}
    return st.fixed_dictionaries({}, optional=properties)


def bodies(operation, resolve):
    """Bodies of any kind, with their type."""
    content = resolve(operation.get("requestBody", {})).get("content", {})
    if "application/json" in content:
        objects = members(content["application/json"]["schema"], resolve).map(lambda value: json.dumps(value).encode())
        return st.tuples(objects | ANYTHING.map(lambda value: json.dumps(value).encode()) | st.binary(max_size=600), st.just("application/json"))
    if "multipart/form-data" in content:
        names = st.text(st.characters(blacklist_categories=("Cs", "Cc"), blacklist_characters='"\\'), max_size=140)
        whole = st.builds(form, st.binary(max_size=300), names, names)
        hostile = st.sampled_from([(b"a=%", "application/x-www-form-urlencoded"), (b"", "multipart/form-data; boundary=B"),
                                   (b'--B\r\nContent-Disposition: form-data; name="x"\r\n\r\n--B--', "multipart/form-data; boundary=B"),
                                   (b"{}", "application/json")])
        return whole | hostile
    return st.just((None, None))


# What a path segment may hold without meaning another path.
SEGMENT = st.text(st.characters(blacklist_categories=("Cs", "Cc"), blacklist_characters="/\\."), min_size=1, max_size=60)


def targets(path, operation, resolve, below):
    """The path with its parameters filled, or with something below it, and the headers that are parameters."""
    parts = {}
    for parameter in operation.get("parameters", []):
        values = SEGMENT if parameter["in"] == "path" else texts(parameter["schema"], resolve)
        if parameter["in"] == "header":
            values = st.sampled_from(["1", "65535", "0", "x", "9" * 200])
        parts[(parameter["in"], parameter["name"])] = values if parameter["in"] == "path" else st.none() | values
    paths = st.just(path) | SEGMENT.map(lambda segment: path + quote(segment)) if below else st.just(path)
    return st.builds(fill, paths, st.fixed_dictionaries(parts))


def fill(path, values):
    asked, headers = [], {}
    for (place, name), value in values.items():
        if value is None:
            continue
        if place == "path":
            path = path.replace("{" + name + "}", quote(value))
        elif place == "query":
            asked.append(f"{name}={quote(value)}")
        else:
            headers[name] = value
    return path + ("?" + "&".join(asked) if asked else ""), headers


def example_target(path, operation):
    return fill(path, {(p["in"], p["name"]): p.get("example") for p in operation.get("parameters", [])})


def example_body(operation, resolve, device):
    content = resolve(operation.get("requestBody", {})).get("content", {})
    if "application/json" in content:
        return json.dumps(content["application/json"]["example"]).encode(), "application/json"
    if "multipart/form-data" in content:
        return form(good_file(operation["operationId"], device), "a.png")
    return None, None
