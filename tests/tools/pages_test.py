#!/usr/bin/python3
"""The man page names every command and option, and each shell gets its completions.

usage: pages_test.py SOURCES
"""
import pathlib
import re
import subprocess
import sys

from support import CommandLine

PACKAGING = pathlib.Path(sys.argv[1]) / "packaging" / "tools"
GROUPS = {"users": ("list", "add", "remove", "password"), "settings": ("export", "import")}


def commands(line):
    found = re.findall(r"^│ (\w+) ", line.ok("--help").partition("Commands")[2], re.M)
    assert len(found) > 12, found
    for name in found:
        yield from ((name, below) for below in GROUPS[name]) if name in GROUPS else ((name,),)


def check_man_page(line):
    page = (PACKAGING / "sdkapi.1").read_text().replace("\\-", "-").replace("\\fR", "").replace("\\fB", "").replace("\\fI", "")
    for command in commands(line):
        assert " ".join(command) in page, command
        options = set(re.findall(r"(?<!\w)--[a-z-]+", line.ok(*command, "--help"))) - {"--help"}
        assert options, command
        for option in options:
            assert re.search(rf"{option}\b", page), (command, option)


def completes(line, **variables):
    return line.run(_SDKAPI_COMPLETE=variables.pop("instruction"), **variables).stdout


def check_completions(line):
    """What the shells ask, and what their files say that they ask."""
    assert "download" in completes(line, instruction="complete_bash", COMP_WORDS="sdkapi do", COMP_CWORD="1").split()
    assert "edid" in completes(line, instruction="complete_bash", COMP_WORDS="sdkapi upload ed", COMP_CWORD="2").split()
    assert '"download"' in completes(line, instruction="complete_zsh", _TYPER_COMPLETE_ARGS="sdkapi do")
    assert "download" in completes(line, instruction="complete_fish", _TYPER_COMPLETE_ARGS="sdkapi do", _TYPER_COMPLETE_FISH_ACTION="get-args")
    for file, shell in (("sdkapi.bash", "bash"), ("_sdkapi", "zsh"), ("sdkapi.fish", "fish")):
        assert f"_SDKAPI_COMPLETE=complete_{shell}" in (PACKAGING / file).read_text(), file
    folder = line.home / "bin"
    folder.mkdir()
    program = folder / "sdkapi"
    program.write_text(f"#!/bin/sh\nexec {' '.join(line.command)} \"$@\"\n")
    program.chmod(0o755)
    asked = f'. {PACKAGING}/sdkapi.bash; COMP_WORDS=(sdkapi do); COMP_CWORD=1; _sdkapi; printf "%s\\n" "${{COMPREPLY[@]}}"'
    environment = line.environment | {"PATH": f"{folder}:{line.environment['PATH']}"}
    done = subprocess.run(["bash", "-c", asked], capture_output=True, text=True, env=environment, check=True)
    assert done.stdout.split() == ["download"], done


def main():
    with CommandLine() as line:
        check_man_page(line)
        check_completions(line)
    print("man page and completions are complete")


main()
