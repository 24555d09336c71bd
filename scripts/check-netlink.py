#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-only
"""The netlink description and the header for C define the same family: names, commands, attributes,
values, and the type of each attribute that the header names. The page for users has them, too.

usage: check-netlink.py DESCRIPTION.yaml HEADER.h PAGE.md
"""
import re
import sys

import yaml

PREFIX = "GPON_FLOW_NL_"
# Types of the header's comments, as the description names them.
TYPES = {"array": "binary", "struct": "binary", "bytes": "binary"}
# An enumerator with its value and its comment.
LINE = re.compile(r"^\s*(GPON_FLOW_NL_\w+)(?: = (\d+))?,?\s*(?:/\* (.*))?$")


def of_header(text):
    """The numbers of all enumerators, the first word of their comments, and the string macros."""
    numbers, words = {}, {}
    for body in re.findall(r"^enum \{\n(.*?)^\};", text, re.M | re.S):
        number = 0
        for line in body.splitlines():
            found = LINE.match(line)
            if not found:
                sys.exit(f"check-netlink.py: no enumerator: {line}")
            name, value, comment = found.groups()
            number = int(value) if value else number
            numbers[name] = number
            words[name] = comment or ""
            number += 1
    macros = dict(re.findall(r'^#define (GPON_FLOW_NL_\w+) "?([^"\s]+)"?', text, re.M))
    return numbers, words, macros


def constant(*parts):
    return (PREFIX + "_".join(parts)).upper().replace("-", "_")


def type_of(comment):
    """The type that a comment of an attribute names."""
    word = comment.removeprefix("6 ").split(" ")[0].rstrip(":,")
    return TYPES.get(word, word)


def of_description(page):
    """The numbers of the description by the names of the header, and the types of attributes."""
    numbers, types = {constant("cmd", "unspec"): 0}, {}
    for operation in page["operations"]["list"]:
        numbers[constant("cmd", operation["name"])] = operation["value"]
    for attributes in page["attribute-sets"]:
        prefix = attributes["name-prefix"].removeprefix("gpon-flow-nl-").rstrip("-")
        numbers[constant(prefix, "unspec")] = 0
        for number, attribute in enumerate(attributes["attributes"], 1):
            name = constant(prefix, attribute["name"])
            numbers[name] = number
            types[name] = attribute["type"]
    for values in page["definitions"]:
        kind = values["name"].split("-")[0]
        for number, entry in enumerate(values["entries"], values["value-start"]):
            numbers[constant(kind, entry)] = number
    return numbers, types


def unknown_references(page):
    """Names that an operation or an attribute uses and nothing defines."""
    sets = {one["name"]: {a["name"] for a in one["attributes"]} for one in page["attribute-sets"]}
    enums = {one["name"] for one in page["definitions"]}
    groups = {one["name"] for one in page["mcast-groups"]["list"]}
    for one in page["attribute-sets"]:
        for attribute in one["attributes"]:
            if attribute.get("nested-attributes", one["name"]) not in sets:
                yield f"{attribute['name']}: there is no set {attribute['nested-attributes']}"
            if "enum" in attribute and attribute["enum"] not in enums:
                yield f"{attribute['name']}: there is no enum {attribute['enum']}"
    for operation in page["operations"]["list"]:
        name = operation["name"]
        if operation.get("mcgrp", next(iter(groups))) not in groups:
            yield f"{name}: there is no group {operation['mcgrp']}"
        kinds = [operation.get(kind, {}) for kind in ("do", "dump")]
        used = [kind.get("reply", {}) for kind in kinds] + [operation.get("event", {})]
        for attribute in (a for one in used for a in one.get("attributes", [])):
            if attribute not in sets.get(operation["attribute-set"], ()):
                yield f"{name}: there is no attribute {attribute}"


def differences(page, text):
    numbers, words, macros = of_header(text)
    described, types = of_description(page)
    if not numbers or not types:
        yield "no command or attribute"
    for name in sorted({*numbers, *described}):
        ours, theirs = numbers.get(name), described.get(name)
        if ours != theirs:
            yield f"{name} is {ours} in the header, {theirs} in the description"
    for name, kind in types.items():
        if kind not in ("pad", type_of(words.get(name, ""))):
            yield f"{name}: '{words.get(name, '')}' in the header, {kind} in the description"
    group = page["mcast-groups"]["list"][0]["name"]
    for name, value in (("FAMILY", page["name"]), ("VERSION", str(page["version"])),
                        ("EVENTS", group)):
        if macros.get(PREFIX + name) != value:
            yield f"{PREFIX + name} is {macros.get(PREFIX + name)}, not {value}"
    yield from unknown_references(page)


def missing_in_page(description, page):
    """Commands, attributes with their types, and values of enums without a row of a table."""
    rows = [line.split("|") for line in page.splitlines() if line.startswith("| `")]
    for operation in description["operations"]["list"]:
        name = "`" + operation["name"].upper().replace("-", "_") + "`"
        if not any(name in row[1] for row in rows):
            yield f"{name} is in no table of the page"
    for name, kind in of_description(description)[1].items():
        name = "`" + name.removeprefix(PREFIX) + "`"
        if kind != "pad" and not any(name in row[1] and row[2].strip() == kind for row in rows):
            yield f"{name} with the type {kind} is in no table of the page"
    for values in description["definitions"]:
        for number, entry in enumerate(values["entries"], values["value-start"]):
            if not any(f"{number} `{entry}`" in row[-2] for row in rows):
                yield f"{entry} = {number} of {values['name']} is in no table of the page"


def main():
    if len(sys.argv) != 4:
        sys.exit("usage: check-netlink.py DESCRIPTION.yaml HEADER.h PAGE.md")
    with open(sys.argv[1], encoding="utf-8") as description:
        page = yaml.safe_load(description)
    with open(sys.argv[2], encoding="utf-8") as header:
        wrong = list(differences(page, header.read()))
    with open(sys.argv[3], encoding="utf-8") as document:
        wrong += missing_in_page(page, document.read())
    print("\n".join(wrong), end="\n" if wrong else "")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
