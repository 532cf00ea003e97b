#!/usr/bin/python3
"""Every public name is documented: each argument, each result, each field, and each slot of the table.

usage: reference_test.py XML EXPORTS, with Doxygen's XML folder and the version script
"""
import pathlib
import re
import sys
import xml.etree.ElementTree as tree


def text_of(element):
    return "" if element is None else "".join(element.itertext()).strip()


def arguments_of(member):
    """The names in a function's or a function pointer's list of arguments."""
    names = [text_of(argument.find("declname")) for argument in member.findall("param")]
    if not names and ")(" in text_of(member.find("type")) + text_of(member.find("argsstring")):
        listed = text_of(member.find("argsstring")).split("(", 1)[1].rstrip(")")
        names = [part.replace("*", " ").split()[-1] for part in listed.split(",") if part.strip() not in ("", "void")]
    return [name for name in names if name]


def faults_of(name, member):
    described = {}
    for item in member.iter("parameteritem"):
        for argument in item.iter("parametername"):
            described[text_of(argument)] = text_of(item.find("parameterdescription"))
    arguments = arguments_of(member)
    for argument in arguments:
        if not described.get(argument):
            yield f"{name}: argument {argument} is not documented"
    for argument in set(described) - set(arguments):
        yield f"{name}: there is no argument {argument}"
    results = [text_of(section) for section in member.iter("simplesect") if section.get("kind") == "return"]
    if not text_of(member.find("type")).startswith("void") and not any(results):
        yield f"{name}: the result is not documented"


def has_text(member):
    return any(text_of(member.find(kind)) for kind in ("briefdescription", "detaileddescription"))


def is_function_pointer(member):
    return "(*" in text_of(member.find("type"))


def main():
    folder = pathlib.Path(sys.argv[1])
    exports = re.findall(r"^ +(\w+);$", pathlib.Path(sys.argv[2]).read_text(), re.M)
    assert len(exports) >= 84
    members = [member for page in sorted([*folder.glob("*_8h.xml"), *folder.glob("struct*.xml")])
               for member in tree.parse(page).iter("memberdef") if member.get("kind") != "define"]
    functions = {text_of(member.find("name")): member for member in members if member.get("kind") == "function"}
    faults = [f"{name}: exported, but in no public header" for name in exports if name not in functions]
    counted = 0
    for member in members:
        name = text_of(member.find("qualifiedname")) or text_of(member.find("name"))
        is_type = member.get("kind") == "typedef"
        if not has_text(member) and not (is_type and text_of(member.find("type")).startswith("struct")):
            faults.append(f"{name}: no text")
        if member.get("kind") == "function" or is_function_pointer(member):
            faults += faults_of(name, member)
            counted += 1
    if counted < len(exports) + 16:
        faults.append(f"only {counted} functions, types and slots were looked at")
    print("\n".join(sorted(set(faults))) or f"{counted} functions, types and slots: documented")
    return 1 if faults else 0


sys.exit(main())
