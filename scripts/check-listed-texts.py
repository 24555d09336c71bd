#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-only
"""Lists of source texts are true: each wrong edit of tests/mutations finds its text exactly once
and has a name of its own, tests/mutations/guest-tests has tests for each source that only a kernel
runs, each line of tests/unreached.txt is a line of its file, and ./run test-stale-rules names tests
that there are."""
import codecs
import os
import re
import sys
from pathlib import Path


def edits(path):
    """The edits of a file, each a dictionary of its fields."""
    for block in path.read_text().split("\n\n"):
        lines = [line for line in block.splitlines() if line and not line.startswith("#")]
        if lines:
            yield dict(line.split(":", 1) for line in lines)


def text_of(field):
    """The text of a field without the blank after its name, with the escapes of printf %b."""
    return codecs.decode(field[1:].encode().decode("latin-1"), "unicode_escape")


def all_edits():
    """Each edit with the file that has it."""
    for path in sorted(Path("tests/mutations").glob("*.txt")):
        for edit in edits(path):
            yield path, edit


def wrong_edits():
    names = set()
    for path, edit in all_edits():
        name = edit["name"].strip()
        source = Path(edit["file"].strip())
        count = source.read_text().count(text_of(edit["from"])) if source.is_file() else 0
        if count != 1:
            yield f"{path}: {name}: {count} times in {source}, not once"
        if name in names:
            yield f"{path}: {name}: a second edit of this name"
        names.add(name)


def missing_tests(place, names):
    for name in names.split():
        if not Path(f"tests/kernel/{name}.sh").is_file():
            yield f"{place}: there is no guest test {name}"


def wrong_guest_tests():
    path = Path("tests/mutations/guest-tests")
    tests = dict(line.split(": ", 1) for line in path.read_text().splitlines()
                 if line and not line.startswith("#"))
    for source, names in tests.items():
        if not Path(source).is_file():
            yield f"{path}: there is no {source}"
        yield from missing_tests(path, names)
    for source in (*Path("src/platform/linux").glob("*.c"), *Path("softonu").glob("*.c")):
        if str(source) not in tests:
            yield f"{path}: no guest test for {source}"
    for place, edit in all_edits():
        yield from missing_tests(f"{place}: {edit['name'].strip()}", edit.get("tests", ""))


def wrong_unreached():
    path = Path("tests/unreached.txt")
    for line in path.read_text().splitlines():
        if not line or line.startswith("#"):
            continue
        source, text = line.split(": ", 1)
        source = Path(source)
        found = source.is_file() and text in map(str.strip, source.read_text().splitlines())
        if not found:
            yield f"{path}: {source} has no line '{text}'"


def missing_thread_tests():
    """A filter that fits no test passes."""
    script = Path("scripts/run/test-stale-rules.sh")
    tests = Path("tests/threads/outcome_test.cpp")
    names = re.findall(r"^measure (\w+)", script.read_text(), re.M) if script.is_file() else []
    for name in names:
        if f"(outcome_threads, {name})" not in tests.read_text():
            yield f"{script}: {tests} has no test {name}"


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: check-listed-texts.py TREE")
    os.chdir(sys.argv[1])
    wrong = [*wrong_edits(), *wrong_guest_tests(), *wrong_unreached(), *missing_thread_tests()]
    print("\n".join(wrong), end="\n" if wrong else "")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
