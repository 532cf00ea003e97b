#!/usr/bin/python3
"""Writes the console's API page from docs/api/openapi.yaml; --check tells whether the page is up to date."""
import html
import pathlib
import sys

import yaml

HERE = pathlib.Path(__file__).resolve().parent
PAGE = HERE / "www/api/index.html"
DESCRIPTION = HERE.parents[1] / "docs/api/openapi.yaml"
METHODS = ("get", "post", "put", "delete")
HEAD = """<!doctype html>
<html lang="en">
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>Device API</title>
<link rel="icon" href="data:,">
<link rel="stylesheet" href="../console.css">
<style>
body { max-width: 70rem; margin: auto; padding: 1rem }
h2 { margin: 1.5rem 0 .3rem }
table { width: 100%; border-collapse: collapse }
td { padding: .2rem .5rem .2rem 0; border-top: 1px solid var(--line); vertical-align: top }
td:first-child { width: 22rem; overflow-wrap: anywhere }
td:last-child { width: 9rem }
</style>
<h1>Device API</h1>
<p>Log in, then send <code>Authorization: Bearer TOKEN</code>; routes marked &#9675; need no token. A path that ends in * stands for all that begin so.
<p><code>curl -d '{"username":"admin","password":"admin"}' http://HOST/api/v1/auth/login<br>
curl -H "Authorization: Bearer TOKEN" http://HOST/dev_info<br>
curl -H "Authorization: Bearer TOKEN" -F file=@logo.png http://HOST/upload/logo</code>
"""


def resolve(document, node):
    for name in node.get("$ref", "#").split("/")[1:]:
        document = document[name]
    return document if "$ref" in node else node


def members(document, operation):
    """What a client sends beside the path."""
    names = [parameter["name"] + ("" if parameter.get("required") else "?") for parameter in operation.get("parameters", [])
             if parameter["in"] != "path"]
    content = resolve(document, operation.get("requestBody", {})).get("content", {})
    if "multipart/form-data" in content:
        names.append("form with a file")
    for media in content.values():
        schema = resolve(document, media["schema"])
        if "multipart/form-data" not in content:
            names += [name + ("" if name in schema.get("required", []) else "?") for name in schema["properties"]]
    return ", ".join(names)


def row(document, path, item, method):
    operation = item[method]
    shown = path + ("*" if item["x-sdkapi-match"] == "prefix" and "{" not in path else "")
    mark = " &#9675;" if operation.get("security") == [] else ""
    sent = members(document, operation)
    text = html.escape(operation["summary"] + (f" ({sent})" if sent else ""))
    return f"<tr><td>{method.upper()} {html.escape(shown)}{mark}<td>{text}<td>{' '.join(operation['responses'])}\n"


def page():
    document = yaml.safe_load(DESCRIPTION.read_text())
    parts = [HEAD]
    for tag in document["tags"]:
        parts.append(f"<h2>{tag['name']}</h2>\n<table>\n")
        for path, item in document["paths"].items():
            parts += [row(document, path, item, method) for method in METHODS
                      if method in item and tag["name"] in item[method]["tags"]]
        parts.append("</table>\n")
    return "".join(parts)


def main():
    if sys.argv[1:] != ["--check"]:
        PAGE.write_text(page())
        return 0
    if PAGE.read_text() == page():
        return 0
    print("the API page is out of date: run examples/simulator/make_api_page.py")
    return 1


sys.exit(main())
