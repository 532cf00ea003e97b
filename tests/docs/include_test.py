#!/usr/bin/python3
"""Includes point one way: src/ follows the table of floors in docs/architecture.md, the simulated device that of
docs/simulator.md; a subject of the kit stands alone, and the examples know the public headers only.

usage: include_test.py SOURCES
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(sys.argv[1])
WEB_SERVER = "civetweb.h"
FLOOR = re.compile(r"^\| (\d+) \| ((?:`\w+/`(?:, )?)+) \| (yes|no|`[\w.]+`) \|", re.M)
DEVICE = "examples/simulator/"
DEVICE_FLOOR = re.compile(r"^\| (\d+) \| `(\w+)(?:/|\.cpp)` \|", re.M)
# What only slots/ and what is above know: the names of requests, replies and the host table.
HTTP = re.compile(r"\b(?:mg_connection|CustomReqInfo|UploadCustomCtx|CustomDownloadInfo|SdkAPISerHandle)\b")
# The trees whose files know each other in no circle; a header and the source of its name are one file here.
NO_CIRCLES = ("src/", "kit/", DEVICE)
# What clang is told about locks: macros, which stand where a name could.
ANNOTATION = re.compile(r"(?<!#define )\b(?:SCOPED_CAPABILITY|(?:CAPABILITY|GUARDED_BY|ACQUIRED_\w+|ACQUIRE|RELEASE|REQUIRES"
                        r"|EXCLUDES)\((?:[^()]|\([^()]*\))*\)) ?")
# Common names of the system, and the headers of which one is to be included.
STANDARD = {
    r"\bu?int(?:8|16|32|64)_t\b": {"cstdint", "stdint.h"},
    r"\bsize_t\b": {"cstddef", "cstdio", "cstdlib", "cstring", "stddef.h"},
    r"\b(?:std::mem|std::str(?!tol)|str(?:case|n?len))\w*\(": {"cstring", "strings.h"},
    r"\bstd::(?:malloc|calloc|free|strtol)\b": {"cstdlib"},
    r"\bstd::(?:snprintf|fopen|FILE)\b": {"cstdio"},
    r"\bstd::atomic": {"atomic"},
    r"\bstd::unique_ptr\b": {"memory"},
    r"\bstd::string_view\b": {"string_view"},
    r"\bstd::(?:exchange|move|swap)\b": {"utility"},
    r"\bpthread_": {"pthread.h"},
}
# What a file must not contain, each with the rule that it breaks: the test is put to the test with them first.
WRONG = {
    "src/server/lifecycle.cpp": '#include "http/routes.h"',  # up
    "src/transfer/upload.cpp": '#include "websocket/connections.h"',  # across
    "src/session/login.cpp": "#include <civetweb.h>",  # not this folder
    "src/server/log.h": "#include <civetweb.h>",  # this folder, not this file
    "src/http/response.h": "#include <civetweb.h>",  # by way of a header
    "src/api/tx_rx_list.cpp": "void f() { GetHttpUrl(nullptr); }",  # used, not included
    "src/http/status_text.cpp": "void f() { mg_write(nullptr, nullptr, 0); }",
    "src/api/custom_restore.cpp": "pthread_t thread;",
    "src/session/user_stack.cpp": '#include "session/login_registry.h"',  # a circle with login_registry.cpp
    "src/custom/new/file.cpp": "",  # no such folder in the table
    "include/sdkapi/host.h": '#include "server/log.h"',
    "examples/minimal/minimal.c": "#include <sdkapi/host.h>",
    "examples/simulator/main.cpp": '#include "base/text.h"',
    "examples/simulator/model/device.h": "#include <civetweb.h>",
    "examples/simulator/store/files.cpp": '#include "bus/events.h"',  # up, one floor each
    "examples/simulator/bus/events.h": '#include "model/units.h"',
    "examples/simulator/model/privileges.cpp": '#include "media/logo.h"',
    "examples/simulator/media/screen.cpp": '#include "slots/slot_guard.h"',
    "examples/simulator/store/names.h": '#include "../slots/replies.h"',  # up, by another way
    "examples/simulator/store/database.cpp": '#include "store/database_test.h"',  # no such file
    "examples/simulator/model/units.cpp": '#include "model/privileges.h"',  # a circle with privileges.cpp
    "examples/simulator/model/presets.cpp": "int Serve(mg_connection* conn, CustomReqInfo* request);",
    "examples/simulator/slots/lonely.cpp": "",  # without a header of its name
    "examples/simulator/panel/buttons.h": "",  # no such folder in the table
    "kit/base/file.cpp": '#include "upload/store.h"',  # up
    "kit/upload/store.cpp": '#include "archive/zip.h"',  # across
    "kit/events/clients.cpp": '#include "server/log.h"',  # the library's own
    "kit/base/log.cpp": '#include "base/guarded.h"',  # a circle with guarded.h
}


def read_tree():
    return {str(path.relative_to(ROOT)): path.read_text() for folder in ("src", "include", "examples", "kit")
            for path in sorted((ROOT / folder).rglob("*")) if path.suffix in (".h", ".c", ".cpp")}


def floors():
    """Folder to its floor, and to the files of it that may include the web server's header: all, none, or one."""
    rows = FLOOR.findall((ROOT / "docs/architecture.md").read_text())
    return {folder: (int(floor), web.strip("`")) for floor, folders, web in rows for folder in re.findall(r"\w+", folders)}


def device_floors():
    """Folder of the simulated device, and its main, to the floor."""
    return {folder: int(floor) for floor, folder in DEVICE_FLOOR.findall((ROOT / "docs/simulator.md").read_text())}


def includes(text):
    return re.findall(r'^#include [<"]([^>"]+)[>"]', text, re.M)


def code(text):
    return re.sub(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|^#include[^\n]*', "", text, flags=re.S | re.M)


def declared(text):
    """The names that a header declares outside of its types."""
    text = ANNOTATION.sub("", code(text))
    return set(re.findall(r"^#define (\w+)", text, re.M) + re.findall(r"^extern \w+ (\w+)", text, re.M)
               + re.findall(r"^(?:constexpr [\w:<> *]+?|using |struct |class |enum class |enum )\b(\w+)(?= = | : | \{|\{|\[)", text, re.M)
               + re.findall(r"^(?:\w+ )*[\w:]+(?:<[^>]*>)?[*&]* [*&]*(\w+)\(", text, re.M)
               + re.findall(r"^\} (\w+);", text, re.M) + re.findall(r"^typedef .*\(\*(\w+)\)", text, re.M))


def own_header(name, tree):
    header = re.sub(r"\.cpp$", ".h", name)
    return includes(tree[header]) if header != name and header in tree else []


def floor_faults(tree, table):
    for name, text in tree.items():
        folder = name.split("/")[1]
        if not name.startswith("src/"):
            continue
        if folder not in table or name.count("/") != 2:
            yield f"{name}: its folder is not in the table of docs/architecture.md"
            continue
        for target in includes(text):
            other = target.split("/")[0]
            if other in table and other != folder and table[other][0] >= table[folder][0]:
                yield f"{name}: {target} is not below"
            if target == WEB_SERVER and table[folder][1] not in ("yes", name.split("/")[2]):
                yield f"{name}: may not include {WEB_SERVER}"


def reach(name, tree, seen):
    for target in includes(tree.get(name, "")):
        if target not in seen:
            seen.add(target)
            reach(f"src/{target}", tree, seen)
    return seen


def web_server_faults(tree, table):
    for name, text in tree.items():
        if not name.startswith("src/"):
            continue
        if re.search(r"\b(?:mg_\w+\(|MG_)", code(text)) and WEB_SERVER not in includes(text):
            yield f"{name}: calls the web server, does not include {WEB_SERVER}"
        if table.get(name.split("/")[1], (0, ""))[1] == "no" and WEB_SERVER in reach(name, tree, set()):
            yield f"{name}: includes {WEB_SERVER} by way of another header"


def use_faults(tree):
    """Every file includes the header of each of our names that it uses, itself or in the header of its name."""
    headers = {re.sub(r"^(src|include)/", "", name): declared(text) for name, text in tree.items()
               if name.endswith(".h") and name.startswith(("src/", "include/"))}
    for name, text in tree.items():
        if not name.startswith("src/"):
            continue
        words = set(re.findall(r"\w+", code(text)))
        known = {*includes(text), *own_header(name, tree), name.removeprefix("src/")}
        provided = set().union(*(headers.get(one, set()) for one in known))
        for header, names in headers.items():
            if header not in known and (used := words & names - provided):
                yield f"{name}: {min(used)} is of {header}"
        for word, sources in STANDARD.items():
            if not known & sources and (found := re.search(word, code(text))):
                yield f"{name}: {found[0]} is of {min(sources)}"


def public_faults(tree):
    for name, text in tree.items():
        for target in includes(text) if name.startswith("include/") else []:
            if not re.fullmatch(r"sdkapi/\w+\.h|std\w+\.h|pthread\.h", target):
                yield f"{name}: {target} in a public header"


def example_faults(tree):
    """A program is what a host is: it has our public headers and its own files; the smallest has the one header of all."""
    for name, text in tree.items():
        if not name.startswith("examples/"):
            continue
        for target in includes(text):
            if target == WEB_SERVER or f"src/{target}" in tree:
                yield f"{name}: {target} is no public header"
            if name.startswith("examples/minimal/") and target.startswith("sdkapi/") and target != "sdkapi/sdkapi.h":
                yield f"{name}: {target}, not sdkapi/sdkapi.h"


def device_faults(tree, device):
    for name, text in tree.items():
        if not name.startswith(DEVICE):
            continue
        folder = re.match(r"\w+", name.removeprefix(DEVICE))[0]
        if folder not in device:
            yield f"{name}: its folder is not in the table of docs/simulator.md"
            continue
        if name.endswith(".cpp") and folder != "main" and re.sub(r"cpp$", "h", name) not in tree:
            yield f"{name}: no header has its name"
        if device[folder] < device["slots"] and (found := HTTP.search(code(text))):
            yield f"{name}: {found[0]} belongs into slots/"
        for target in re.findall(r'^#include "([^"]+)"', text, re.M):
            other = target.split("/")[0]
            if f"{DEVICE}{target}" not in tree and f"include/{target}" not in tree:
                yield f"{name}: {target} is no file of the device, and no public header"
            elif device.get(other, 0) > device[folder]:
                yield f"{name}: {target} is not below"


def kit_faults(tree):
    """A subject of the kit stands alone: it includes its own files, those of base/, and public headers."""
    kit = {name.removeprefix("kit/") for name in tree if name.startswith("kit/")}
    for name in sorted(kit):
        for target in includes(tree[f"kit/{name}"]):
            if f"src/{target}" in tree and target not in kit:
                yield f"kit/{name}: {target} is no public header"
            if target in kit and target.split("/")[0] not in (name.split("/")[0], "base"):
                yield f"kit/{name}: {target} is of another subject"


def known_parts(root, tree):
    """A file, which is a header and the source of its name, to the files of its tree that it includes."""
    parts = {}
    for name, text in tree.items():
        if name.startswith(root):
            own = name.removeprefix(root).split(".")[0]
            parts.setdefault(own, set()).update(target[:-2] for target in includes(text) if f"{root}{target}" in tree)
            parts[own].discard(own)
    return parts


def circle_faults(tree):
    for root in NO_CIRCLES:
        parts = known_parts(root, tree)
        # Who knows nobody that is left, or is known by nobody, is in no circle.
        while done := {part for part, others in parts.items()
                       if not others & parts.keys() or not any(part in known for known in parts.values())}:
            parts = {part: others for part, others in parts.items() if part not in done}
        yield from (f"{root}{part}: in a circle with others" for part in parts)


def faults(tree, table, device):
    return [*floor_faults(tree, table), *web_server_faults(tree, table), *use_faults(tree), *public_faults(tree), *example_faults(tree),
            *device_faults(tree, device), *kit_faults(tree), *circle_faults(tree)]


def main():
    tree, table, device = read_tree(), floors(), device_floors()
    found = [f"{folder}/: in the table, not in src/" for folder in table if not (ROOT / "src" / folder).is_dir()]
    found += [f"{part}: in the table, not in {DEVICE}" for part in device if not list((ROOT / DEVICE).glob(f"{part}*"))]
    before = faults(tree, table, device)
    for name, line in WRONG.items():
        if len(faults({**tree, name: f"{line}\n{tree.get(name, '')}"}, table, device)) <= len(before):
            found.append(f"{line!r} in {name} is not noticed")
    found += before
    print("\n".join(found) or f"{len(tree)} files, {len(table) + len(device)} floors")
    return 1 if found else 0


sys.exit(main())
