#!/usr/bin/python3
"""The simulated device's paths below its data folder stand in one table, store/paths.h, and docs/simulator.md has the same ones.

usage: paths_test.py SOURCES
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(sys.argv[1])
TABLE = "examples/simulator/store/paths.h"
PAGE = "docs/simulator.md"
SECTION = "\n## Files below the data folder\n"
TEXT = re.compile(r'"((?:\\.|[^"\\\n])*)"')
# What must not be there, each with the place where it would be: the test is put to the test with them first.
WRONG = (
    ("examples/simulator/slots/uploads.cpp", 'constexpr const char* kPlace = "files/logo";'),
    ("examples/simulator/slots/uploads.cpp", 'row.file = "scene.json";'),
    ("examples/simulator/slots/settings.cpp", 'EmptyFolder("tmp");'),
    ("examples/simulator/model/privileges.cpp", 'return folder + "/" + picture;'),
    ("examples/simulator/main.cpp", 'OpenDatabase("other/device.db");'),
    ("examples/simulator/store/files.cpp", 'ReadFile("log/errors.log", 1);'),
    (TABLE, 'inline constexpr const char* kMore = "more/file";'),
    (PAGE, "| `export/forgotten.txt` | nobody makes it |"),
)


def read_tree():
    names = [*ROOT.glob("examples/simulator/**/*.cpp"), *ROOT.glob("examples/simulator/**/*.h"), *ROOT.glob("kit/**/*.cpp"),
             *ROOT.glob("kit/**/*.h"), ROOT / PAGE]
    return {str(path.relative_to(ROOT)): path.read_text() for path in names}


def code(text):
    return re.sub(r"//[^\n]*|^#include[^\n]*", "", text, flags=re.M)


def paths_of_program(tree):
    return {path.rstrip("/") for path in TEXT.findall(code(tree[TABLE]))} - {"."}


def paths_of_page(tree):
    section = tree[PAGE].partition(SECTION)[2].partition("\n## ")[0]
    cells = re.findall(r"^\| (`[^|]*`) \|", section, re.M)
    return {path.rstrip("/") for cell in cells for path in re.findall(r"`([^`]+)`", cell)}


def paths_of_kit(tree, known):
    """What the page has beyond the program: the kit makes these files and folders, so it knows their names."""
    texts = set(TEXT.findall("".join(code(text) for name, text in tree.items() if name.startswith("kit/"))))
    return {path for path in known if texts & {path.split("/")[-1], "/" + path.split("/")[-1]}}


def page_faults(tree):
    program, page = paths_of_program(tree), paths_of_page(tree)
    yield from (f"{path}: in {TABLE}, not in {PAGE}" for path in program - page)
    beyond = page - program
    yield from (f"{path}: in {PAGE}, neither in {TABLE} nor in the kit" for path in beyond - paths_of_kit(tree, beyond))


def is_path(text, before, known):
    text = text.rstrip("/")
    folder, slash, _ = text.partition("/")
    if slash and folder in {path.split("/")[0] for path in known}:
        return True
    name = text.split("/")[-1]
    if "." in name and name in {path.split("/")[-1] for path in known}:
        return True
    # A word that is a folder's name may be a member of a JSON object, too.
    return text in known and not before.endswith("{")


def text_faults(tree):
    known = paths_of_program(tree) | paths_of_page(tree)
    for name, text in tree.items():
        if not name.startswith("examples/simulator/") or name == TABLE:
            continue
        source = code(text)
        for found in TEXT.finditer(source):
            if is_path(found[1], source[:found.start()], known):
                yield f"{name}: {found[0]} is a path, which belongs into {TABLE}"
        if re.search(r'\+ "/', source):
            yield f"{name}: puts a path together"


def faults(tree):
    return [*page_faults(tree), *text_faults(tree)]


def with_line(tree, name, line):
    text = tree[name].replace(SECTION, f"{SECTION}{line}\n") if name == PAGE else f"{line}\n{tree[name]}"
    return {**tree, name: text}


def main():
    tree = read_tree()
    found = faults(tree)
    for name, line in WRONG:
        if len(faults(with_line(tree, name, line))) <= len(found):
            found.append(f"{line!r} in {name} is not noticed")
    print("\n".join(found) or f"{len(paths_of_page(tree))} paths")
    return 1 if found else 0


sys.exit(main())
