#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-only
"""usage: check-joined-names.py LIST...

A LIST names the sources of a target that may be compiled as one; its first line is the folder that
relative names start from. No two of them define the same name in an unnamed namespace. A build does
not show all conflicts, because each new source changes which of them are compiled as one.
"""
import re
import sys
from collections import defaultdict
from pathlib import Path

BLANKED = re.compile(
    r'//[^\n]*|/\*.*?\*/|R"(\w*)\(.*?\)\1"|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])+\'', re.S)
BRACE = re.compile(r"[{}]")
END = re.compile(r"[{;]")
OPENING = re.compile(r"^namespace \{$", re.M)
TYPE = re.compile(r"(?:struct|class|union|enum(?: class| struct)?)\s+(?:\w+\s*\([^)]*\)\s*)?"
                  r"(\w+)\s*(?:final\s*)?[:{]")
ALIAS = re.compile(r"using\s+(\w+)\s*=\s*([^;]*)")
ENCLOSING = re.compile(r"^namespace ([\w:]+) \{$", re.M)
MACROS_OF_TESTS = re.compile(r"(?:TYPED_)?TEST(?:_[FP])?\((\w+),\s*(\w+)\)")


def without_texts(source):
    """The source with its comments, texts and preprocessor lines blanked."""
    blank = BLANKED.sub(lambda found: "0" + "\n" * found.group().count("\n")
                        if found.group()[0] in "\"'R" else "\n" * found.group().count("\n"), source)
    return re.sub(r"^\s*#(?:.*\\\n)*.*$", "", blank, flags=re.M)


def block_end(text, start):
    """The position after the brace that closes the one at start."""
    depth = 0
    for brace in BRACE.finditer(text, start):
        depth += 1 if brace.group() == "{" else -1
        if depth == 0:
            return brace.end()
    return len(text)


def declarations(body):
    """The declarations at the top level of a namespace, without the contents of their braces."""
    begin, head = 0, ""
    while end := END.search(body, begin):
        head += body[begin:end.start()]
        begin = end.end()
        if end.group() == "{":
            head += "{}"
            begin = block_end(body, end.start())
        # The body of a function ends the declaration; values and types have a semicolon.
        if end.group() == ";" or (is_function(head) and not re.match(r"\s*[;,{]", body[begin:])):
            yield head + ";"
            head = ""


def parameters(head):
    """The text in the parentheses after the name of a function, and the text before them."""
    depth = 0
    for at, char in enumerate(head):
        depth += {"<": 1, ">": -1}.get(char, 0)
        if char == "(" and depth <= 0:
            end = at
            level = 0
            for end in range(at, len(head)):
                level += {"(": 1, ")": -1}.get(head[end], 0)
                if level == 0:
                    break
            return head[:at], head[at + 1:end]
    return None


def is_function(head):
    found = parameters(plain(head))
    return found is not None and "=" not in found[0].split("operator")[0]


def plain(head):
    """The declaration without attributes and without the words before a template."""
    head = re.sub(r"\[\[.*?\]\]", " ", head)
    while True:
        found = re.match(r"\s*template\s*<", head)
        if not found:
            return head.strip()
        depth, at = 1, found.end()
        while depth and at < len(head):
            depth += {"<": 1, ">": -1}.get(head[at], 0)
            at += 1
        head = head[at:]


def types_of(text):
    """The types of parameters, without names and default values."""
    types, depth, word = [], 0, ""
    for char in text + ",":
        depth += {"<": 1, "(": 1, "[": 1, ">": -1, ")": -1, "]": -1}.get(char, 0)
        if char == "," and depth == 0:
            word = re.sub(r"=.*", "", word, flags=re.S).strip()
            types.append(re.sub(r"\s+", " ", re.sub(r"(?<=[\s&*>])\w+$", "", word)).strip())
            word = ""
        else:
            word += char
    return ",".join(types)


def name_of(head):
    """What a declaration defines: a name, with its types if it is a function. None if nothing."""
    test = MACROS_OF_TESTS.search(head)
    if test:
        return f"TEST({test.group(1)}, {test.group(2)})"
    head = plain(head)
    alias = ALIAS.match(head)
    if alias:  # may be repeated
        return " ".join(f"{alias.group(1)} = {alias.group(2)}".split())
    found = TYPE.match(head)
    if found:
        return found.group(1)
    if re.match(r"(?:using|extern|friend|static_assert)\b", head):
        return None
    found = parameters(head)
    if found and is_function(head):
        name = re.search(r"(operator\s*\S+|[\w:]+)\s*$", found[0])
        if not name or "{}" not in head or "::" in name.group(1):
            return None
        return f"{name.group(1)}({types_of(found[1])})"
    found = re.match(r"[^={\[;]*?(\w+)\s*(?:=|\{|\[|;)", head)
    return found.group(1) if found else None


def enclosing(text, position):
    """The named namespaces around a position."""
    found = (opening for opening in ENCLOSING.finditer(text)
             if opening.end() <= position < block_end(text, opening.end() - 1))
    return "::".join(opening.group(1) for opening in found)


def definitions(path):
    """The names that the unnamed namespaces of a source define, each with the namespace around."""
    text = without_texts(path.read_text())
    for opening in OPENING.finditer(text):
        start = opening.end() - 1
        for head in declarations(text[start + 1:block_end(text, start) - 1]):
            name = name_of(head)
            if name:
                yield enclosing(text, opening.start()), name


def sources_of(path):
    folder, *names = path.read_text().split()
    return sorted({Path(folder) / name for name in names if name.endswith(".cpp")})


def word_of(name):
    return re.match(r"TEST\(.*\)|operator\s*[^(\s]+|\w+", name).group()


def collide(first, second):
    """Whether two definitions of a word conflict: functions may differ in their parameters, and an
    alias may be repeated."""
    if "(" in first and "(" in second:
        return first == second
    return " = " not in first or first != second


def collisions(path):
    """The words of a list that several sources define, each with the sources."""
    users = defaultdict(set)
    for source in sources_of(path):
        for space, name in definitions(source):
            users[space, word_of(name)].add((name, source))
    for (_, word), uses in users.items():
        sources = {str(source) for name, source in uses for other, elsewhere in uses
                   if source != elsewhere and collide(name, other)}
        if sources:
            yield word, sorted(sources)


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    seen = failed = 0
    for path in map(Path, sys.argv[1:]):
        seen += sum(1 for source in sources_of(path) for _ in definitions(source))
        for name, sources in collisions(path):
            failed = 1
            print(f"{name} of an unnamed namespace is defined in {', '.join(sources)}")
    if seen == 0:
        sys.exit("check-joined-names: no definition found in the sources")
    sys.exit(failed)


main()
