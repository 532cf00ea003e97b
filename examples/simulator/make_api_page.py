#!/usr/bin/python3
"""Writes the console's API page from the descriptions in docs/api; --check tells whether the page is up to date."""
import html
import json
import pathlib
import re
import sys

import yaml

HERE = pathlib.Path(__file__).resolve().parent
PAGE = HERE / "www/api/index.html"
DESCRIPTIONS = HERE.parents[1] / "docs/api"
METHODS = ("get", "post", "put", "delete")
# The policy of the console's own page.
POLICY = re.search(r"<meta http-equiv=.*>", (HERE / "www/index.html").read_text(encoding="utf-8"))[0]
HEAD = """<!doctype html>
<html lang="en">
<meta charset="utf-8">
{policy}
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>Device API</title>
<link rel="icon" href="data:,">
<link rel="stylesheet" href="../console.css">
<link rel="stylesheet" href="page.css">
<script type="module" src="page.js"></script>
<h1>Device API</h1>
<p>Log in, then send <code>Authorization: Bearer TOKEN</code>; routes marked &#9675; need no token. A path that ends in * stands for all that
begin so. The same for programs: <a href="openapi.yaml">openapi.yaml</a>, <a href="asyncapi.yaml">asyncapi.yaml</a>.
<div id="account"></div>
""".replace("{policy}", POLICY)
EVENT = "event-"
# The page puts its own host, and what curl needs for a device's own certificate, in their places.
K = "<span class=k></span>"
ORIGIN = "<span class=origin>http://HOST</span>"
LOG_IN = """TOKEN=$(curl {k}-s -d '{{"username":"admin","password":"admin"}}' {origin}/api/v1/auth/login | sed 's/.*"token": *"\\([^"]*\\).*/\\1/')"""


def words(text):
    """A description's text with its code marked."""
    return re.sub(r"`([^`]*)`", r"<code>\1</code>", html.escape(" ".join(text.split()), quote=False)).replace("**", "")


def code(value):
    return f"<code>{html.escape(json.dumps(value, ensure_ascii=False), quote=False)}</code>"


def example(value):
    return f"<pre>{html.escape(json.dumps(value, indent=1, ensure_ascii=False), quote=False)}</pre>\n"


def kind(schema):
    """What a schema allows, in words."""
    if "$ref" in schema:
        name = schema["$ref"].rpartition("/")[2]
        return f'<a href="#{name}">{name.removeprefix(EVENT)}</a>'
    if "const" in schema:
        return code(schema["const"])
    for several in ("enum", "oneOf"):
        if several in schema:
            return " or ".join(code(one) if several == "enum" else kind(one) for one in schema[several])
    plain = {"integer": "whole number", "number": "number", "boolean": "true or false", "null": "null", None: "any value"}
    if schema.get("type") == "array":
        return f"list of {kind(schema['items'])}"
    if schema.get("type") == "object":
        return "{ " + "; ".join(f"<code>{name}{mark(schema, name)}</code>: {kind(part)}" for name, part in schema.get("properties", {}).items()) + " }"
    if schema.get("type") == "string":
        return text_kind(schema)
    return plain[schema.get("type")]


def text_kind(schema):
    parts = ["text"]
    if schema.get("contentMediaType") == "application/octet-stream":
        parts = ["bytes"]
    if "maxLength" in schema:
        parts.append(f"at most {schema['maxLength']} bytes")
    if "pattern" in schema:
        parts.append(f"<code>{html.escape(schema['pattern'])}</code>")
    if "contentSchema" in schema:
        parts.append(f"JSON again: {kind(schema['contentSchema'])}")
    return ", ".join(parts)


def mark(schema, name):
    return "" if name in schema.get("required", []) else "?"


def members(schema):
    """A table of an object's members; what is no object in one line."""
    if "properties" not in schema:
        return f"<p>{kind(schema)}\n"
    rows = [f"<tr><td><code>{name}{mark(schema, name)}</code><td>{kind(part)}<td>{words(part.get('description', ''))}\n"
            for name, part in schema["properties"].items()]
    return f"<table>\n{''.join(rows)}</table>\n"


class Routes:
    """The routes, by their tags, and the schemas that they name."""

    def __init__(self):
        self.document = yaml.safe_load((DESCRIPTIONS / "openapi.yaml").read_text())

    def resolve(self, node):
        target = self.document if "$ref" in node else node
        for name in node.get("$ref", "#").split("/")[1:]:
            target = target[name]
        return target

    def sections(self):
        for tag in self.document["tags"]:
            yield f"<h2>{tag['name']}</h2>\n<p>{words(tag['description'])}\n"
            for path, item in self.document["paths"].items():
                for method in METHODS:
                    if method in item and tag["name"] in item[method]["tags"]:
                        yield from self.operation(path, item, method)

    def operation(self, path, item, method):
        operation = item[method]
        shown = path + ("*" if item["x-sdkapi-match"] == "prefix" and "{" not in path else "")
        free = operation.get("security") == []
        yield (f'<details id="{operation["operationId"]}"><summary><code>{method.upper()} {html.escape(shown)}</code>{" &#9675;" if free else ""} '
               f'{words(operation["summary"])}</summary>\n')
        if "description" in operation:
            yield f"<p>{words(operation['description'])}\n"
        yield self.parameters(operation)
        yield self.body(operation)
        yield self.answers(operation)
        yield f"<pre class=curl>{self.command(path, method, operation, free)}</pre>\n"
        if method == "get" and self.is_safe(operation):
            yield self.trial(path, operation)
        yield "</details>\n"

    def parameters(self, operation):
        rows = [f"<tr><td><code>{one['name']}{'' if one.get('required') else '?'}</code><td>{one['in']}, {kind(one['schema'])}"
                f"<td>{words(one['description'])}\n" for one in operation.get("parameters", [])]
        return f"<table>\n{''.join(rows)}</table>\n" if rows else ""

    def body(self, operation):
        content = self.resolve(operation.get("requestBody", {})).get("content", {})
        if "application/json" in content:
            return f"<p>Body: {kind(content['application/json']['schema'])}\n{example(content['application/json']['example'])}"
        return "<p>Body: a form with one file.\n" if content else ""

    def answers(self, operation):
        rows = []
        for status, named in operation["responses"].items():
            answer = self.resolve(named)
            text = words(answer["description"])
            for media, content in answer.get("content", {}).items():
                text += f" {kind(content['schema'])}" if media == "application/json" else f" <code>{media}</code>"
                examples = [one["value"] for one in content.get("examples", {}).values()] or [content[key] for key in ("example",) if key in content]
                text += "".join(example(one) for one in examples if status == "200")
            rows.append(f"<tr><td>{status}<td colspan=2>{text}\n")
        return f"<table>\n{''.join(rows)}</table>\n"

    def is_safe(self, operation):
        """Does it only read, and end? What changes something answers with an empty body, and pictures have no end."""
        content = self.resolve(operation["responses"]["200"]).get("content", {})
        return bool(content) and "multipart/x-mixed-replace" not in content

    def trial(self, path, operation):
        asked = {one["name"]: one.get("example", "") for one in operation.get("parameters", []) if one["in"] in ("path", "query")}
        return f"<div class=try data-path=\"{html.escape(path)}\" data-with='{html.escape(json.dumps(asked))}'></div>\n"

    def command(self, path, method, operation, free):
        """The request as a line for a shell; the page puts its own host in."""
        for one in operation.get("parameters", []):
            path = path.replace("{" + one["name"] + "}", str(one.get("example", "")))
        asked = "&".join(f"{one['name']}={one['example']}" for one in operation.get("parameters", []) if one["in"] == "query")
        content = self.resolve(operation.get("requestBody", {})).get("content", {})
        sent = ["" if free else '-H "Authorization: Bearer $TOKEN"']
        sent += [f"-H '{one['name']}: {one['example']}'" for one in operation.get("parameters", []) if one["in"] == "header"]
        if "application/json" in content:
            sent.append(f"-d '{json.dumps(content['application/json']['example'])}'")
        elif content:
            sent.append("-F file=@FILE")
        elif method == "post":
            sent.append("-X POST")
        line = html.escape(" ".join(filter(None, sent)), quote=False)
        target = html.escape(path + ("?" + asked if asked else ""))
        if operation["operationId"] == "logIn":
            return html.escape(LOG_IN, quote=False).format(k=K, origin=ORIGIN)
        return f"curl {K}{line}{' ' if line else ''}'{ORIGIN}{target}'"



def schemas(title, document, prefix=""):
    yield f"<h2>{title}</h2>\n"
    for name, schema in document["components"]["schemas"].items():
        yield f'<h3 id="{prefix}{name}">{name}</h3>\n{members(schema)}'


def events(document):
    """The messages of the WebSocket."""
    channel = document["channels"]["events"]
    yield f"<h2>{channel['title']}</h2>\n<p>WebSocket <code>{channel['address']}</code>, the token as its only protocol. {words(channel['summary'])}\n"
    for message in document["components"]["messages"].values():
        yield f"<details><summary>{message['title'].replace(message['name'], '<code>' + message['name'] + '</code>')} {words(message['summary'])}</summary>\n"
        payload = message["payload"]
        if "$ref" in payload:
            payload = document["components"]["schemas"][payload["$ref"].rpartition("/")[2].removeprefix(EVENT)]
        yield members(payload) + "".join(example(one["payload"]) for one in message["examples"]) + "</details>\n"


def page():
    routes = Routes()
    # Both descriptions have a schema called Status, so those of the events have names of their own on the page.
    messages = yaml.safe_load((DESCRIPTIONS / "asyncapi.yaml").read_text().replace("#/components/schemas/", "#/components/schemas/" + EVENT))
    return HEAD + "".join((*routes.sections(), *events(messages), *schemas("Schemas", routes.document),
                           *schemas("Schemas of the events", messages, EVENT)))


def main():
    if sys.argv[1:] != ["--check"]:
        PAGE.write_text(page())
        return 0
    if PAGE.read_text() == page():
        return 0
    print("the API page is out of date: run examples/simulator/make_api_page.py")
    return 1


sys.exit(main())
