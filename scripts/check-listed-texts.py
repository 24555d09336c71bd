#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-only
"""Lists of source texts are true: each wrong edit of tests/mutations finds its text exactly once,
and each line of tests/unreached.txt is a line of its file."""
import codecs
import os
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


def wrong_edits():
    for path in sorted(Path("tests/mutations").glob("*.txt")):
        for edit in edits(path):
            source = Path(edit["file"].strip())
            count = source.read_text().count(text_of(edit["from"])) if source.is_file() else 0
            if count != 1:
                yield f"{path}: {edit['name'].strip()}: {count} times in {source}, not once"


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


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: check-listed-texts.py TREE")
    os.chdir(sys.argv[1])
    wrong = [*wrong_edits(), *wrong_unreached()]
    print("\n".join(wrong), end="\n" if wrong else "")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
