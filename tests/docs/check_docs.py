#!/usr/bin/python3
"""What the documents name exists: links, anchors, files, commands, options, and every slot has its row.

usage: check_docs.py SOURCES CHECK, with CHECK one of links, names, slots, sizes, quotes, exports, contracts, comments, licence, log_lines, manuals
"""
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(sys.argv[1])
PAGES = sorted([*ROOT.glob("*.md"), *ROOT.glob("docs/**/*.md")])
SERVED = {"custom.txt", "export/custom.txt", "/api/openapi.yaml", "/api/asyncapi.yaml"}  # files that the simulated device makes, and addresses
WITHOUT_CODE = re.compile(r"^```.*?^```$", re.S | re.M)


def anchors(page):
    """The anchors of a page's headings, as its readers make them."""
    headings = re.findall(r"^#+ (.+)$", WITHOUT_CODE.sub("", page.read_text()), re.M)
    return {re.sub(r"[^\w\- ]", "", re.sub(r"[`*]", "", heading)).strip().lower().replace(" ", "-") for heading in headings}


def links():
    for page in PAGES:
        for target in re.findall(r"\]\(([^)\s]+)\)", page.read_text()):
            if re.match(r"[a-z]+:", target):
                continue
            name, _, anchor = target.partition("#")
            file = page.parent / name if name else page
            if not file.exists():
                yield f"{page.name}: no file {target}"
            elif anchor and anchor not in anchors(file):
                yield f"{page.name}: no heading {target}"


def tracked():
    listing = subprocess.run(["git", "ls-files"], cwd=ROOT, capture_output=True, text=True, check=False).stdout.split()
    return listing or [str(path.relative_to(ROOT)) for path in ROOT.glob("**/*") if path.is_file()]


def names():
    """Paths, commands of ./dev, tests, options of CMake and variables of the tools."""
    files = tracked()
    text_of_dev = (ROOT / "dev").read_text()
    options = set(re.findall(r"SDKAPI_[A-Z_]+", "".join(path.read_text() for path in
                             [ROOT / "CMakeLists.txt", *ROOT.glob("cmake/*.cmake"), *ROOT.glob("examples/*/CMakeLists.txt"), *ROOT.glob("tools/*/*.py")])))
    for page in PAGES:
        text = page.read_text()
        for word in re.findall(r"`([\w./*-]+\.(?:cpp|h|c|py|sh|md|cmake|txt|map|yaml|mjs))`", text):
            if "*" not in word and word not in SERVED and not word.startswith("build/") and not any(file == word or file.endswith("/" + word) for file in files):
                yield f"{page.name}: no file {word}"
        for command in re.findall(r"\./dev ([a-z]+)", text):
            if not (ROOT / "scripts" / command).exists() and not re.search(rf"^  (?:\S+ \| )*{command}(?: \| \S+)*\)", text_of_dev, re.M):
                yield f"{page.name}: no command ./dev {command}"
        for path in re.findall(r"`((?:\.ci|abi|bench|cmake|docs|examples|include|scripts|src|tests|tools)/[\w./-]*)`", text):
            if not (ROOT / path).exists() and not any(file.startswith(path + ".") for file in files):
                yield f"{page.name}: no path {path}"
        for folder, test in re.findall(r"`(abi|api|clients|docs|unit)\.(\w+)`", text):
            if not any(re.search(rf"\b{test}\b", path.read_text()) for path in ROOT.glob(f"tests/{folder}/**/CMakeLists.txt")):
                yield f"{page.name}: no test {folder}.{test}"
        for option in re.findall(r"(?:-D|`)(SDKAPI_[A-Z_]+)", text):
            if option not in options:
                yield f"{page.name}: no option {option}"
    for path in [ROOT / "CMakeLists.txt", *ROOT.glob("cmake/*.cmake")]:
        for option in re.findall(r"^(?:option\(| *set\()(SDKAPI_[A-Z_]+) (?=.*(?:CACHE (?!INTERNAL)| O(?:N|FF)\)))", path.read_text(), re.M):
            if f"`{option}`" not in (ROOT / "README.md").read_text():
                yield f"README.md: no row for {option}"


def slots():
    """Every slot of the table has a row in the guide, in the table's order."""
    header = (ROOT / "include/sdkapi/host.h").read_text()
    table = header[header.index("typedef struct SdkAPISerHandle"):]
    expected = re.findall(r"\b(\w+Cb)(?:\)\(|;)", table[:table.index("} SdkAPISerHandle;")])
    rows = re.findall(r"^\| `(\w+Cb)` \|", (ROOT / "docs/host-guide.md").read_text(), re.M)
    assert len(expected) > 20
    if rows != expected:
        yield f"host-guide.md: slots {sorted(set(expected) ^ set(rows)) or 'out of order'}"


def sizes():
    """The guide's sizes are those that the library asserts, and its routes are those that the library binds."""
    guide = (ROOT / "docs/host-guide.md").read_text()
    asserted = dict(re.findall(r"static_assert\(sizeof\((\w+)\) == (\d+)\);", (ROOT / "abi/layout.cpp").read_text()))
    stated = re.findall(r"`(\w+)`, (\d+) bytes", guide)
    assert len(stated) > 5
    for record, size in stated:
        if asserted.get(record) != size:
            yield f"host-guide.md: {record} is said to have {size} bytes"
    bound = set(re.findall(r'"(/[^"$]*)\$?"', (ROOT / "src/http/routes.cpp").read_text()))
    for cell in re.findall(r"^\| `\w+Cb` \|([^|]*)\|", guide, re.M):
        for route in re.findall(r"`(/[^`]*)`", cell):
            if route not in bound:
                yield f"host-guide.md: no route {route}"


def quotes():
    """The quick start is the minimal host, to the letter."""
    if (ROOT / "examples/minimal/minimal.c").read_text() not in (ROOT / "docs/host-guide.md").read_text():
        yield "host-guide.md: the quick start differs from examples/minimal/minimal.c"


def exports():
    """Every exported name is declared in a public header behind a comment."""
    text = "".join(path.read_text() for path in ROOT.glob("include/sdkapi/*.h"))
    exported = re.findall(r"^ +(\w+);$", (ROOT / "abi/exports.map").read_text(), re.M)
    assert len(exported) >= 84
    for name in exported:
        if not re.search(rf"\*/\s*SDKAPI_EXPORT [^;]*\b{name}\b", text):
            yield f"{name} has no comment"


def contracts():
    """No two declarations of the public headers spell out the same arguments and results."""
    seen = {}
    for path in sorted(ROOT.glob("include/sdkapi/*.h")):
        for block, declared in re.findall(r"/\*\*((?:(?!\*/).)*)\*/\n([^;{]*[;{])", path.read_text(), re.S):
            contract = " ".join(re.sub(r"\n *\*", " ", block[block.find("@param"):]).split()) if len(re.findall("@param|@return", block)) > 1 else ""
            if contract and seen.setdefault(contract, declared) != declared:
                yield f"{path.name}: {' '.join(declared.split())} repeats {' '.join(seen[contract].split())}: use @copydetails"
    assert len(seen) > 30


def comments():
    """Comments are less than half of the lines of the fixed interface: what is said once is read."""
    headers = [path for path in ROOT.glob("include/sdkapi/*.h") if path.name != "extension.h"]
    lines = commented = 0
    for path in headers:
        text = path.read_text()
        lines += text.count("\n")
        # Lines that hold a comment alone; one behind a field counts where it goes on.
        commented += sum(comment.count("\n") + (before.strip() == "") for before, comment in re.findall(r"^([^\n]*?)(/\*.*?\*/)", text, re.S | re.M))
    if len(headers) < 11 or 2 * commented >= lines:
        yield f"{commented} of {lines} lines in {len(headers)} headers"


def licence():
    """The repository and its packages state the same terms."""
    terms = re.search(r"License: sdkapi\n(.*?)\n\n", (ROOT / "packaging/debian/copyright").read_text(), re.S).group(1)
    if terms.split() != (ROOT / "LICENSE").read_text().partition("\n\n")[2].split():
        yield "LICENSE: other terms than packaging/debian/copyright"


def log_lines():
    """The page of log lines has the texts of the sources, all of them and no others."""
    sources = "".join(path.read_text() for path in sorted(ROOT.glob("src/*/*")))
    logged = {text.replace("%s%s", "%s") for text in re.findall(r'(?:\(\)|\blog)\("([^"]*)"', sources)}
    tables = re.findall(r"^\| (`[^|]*) \|", (ROOT / "docs/log.md").read_text(), re.M)
    described = {text for cell in tables for text in re.findall(r"`([^`]*)`", cell)}
    assert len(logged) > 20
    yield from (f"log.md: no row for {text!r}" for text in sorted(logged - described))
    yield from (f"log.md: no source logs {text!r}" for text in sorted(described - logged))


def manuals():
    """The simulated device's options stand in its manual and its page; the manuals name the version."""
    common = re.findall(r'"--([a-z][a-z-]+)"', (ROOT / "kit/runner/settings.cpp").read_text())
    own = re.findall(r'^    {"([a-z-]+)", "', (ROOT / "examples/simulator/main.cpp").read_text(), re.M)
    assert len(common) > 6 and len(own) > 3
    manual = (ROOT / "packaging/sdkapi-simulator.8").read_text().replace("\\-", "-")
    rows = set(re.findall(r"^\| `--([a-z-]+)", (ROOT / "docs/simulator.md").read_text(), re.M))
    for option in {*common, *own} - {"version"}:
        if not re.search(rf"^\.BI? --{option}\b(?!-)", manual, re.M):
            yield f"sdkapi-simulator.8: no option --{option}"
        if option not in rows:
            yield f"simulator.md: no option --{option}"
    version = re.search(r"VERSION (\d+\.\d+)", (ROOT / "CMakeLists.txt").read_text().partition("project(")[2]).group(1)
    for page in ROOT.glob("packaging/**/*.[18]"):
        if f'"sdkapi {version}"' not in page.read_text():
            yield f"{page.name}: another version than {version}"


CHECKS = {check.__name__: check for check in (links, names, slots, sizes, quotes, exports, contracts, comments, licence, log_lines, manuals)}


def main():
    faults = list(CHECKS[sys.argv[2]]())
    print("\n".join(faults) or f"{sys.argv[2]}: in order")
    return 1 if faults else 0


sys.exit(main())
