#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-only
"""Check that each path that a document names exists.

usage: check-paths.py ROOT

A path is a word in backticks, outside of blocks, that begins with a folder of the tree. It names a
tracked file or folder, or the files of that name with any ending. It may have {a,b} and wildcards.
A word with a placeholder in capitals is no path, nor is one in CHANGELOG.md, which names files of
earlier releases, nor one in docs/results/, whose files are written by long runs.
"""

import fnmatch
import itertools
import os
import re
import subprocess
import sys

BLOCK = re.compile(r"^( *)```.*?^\1```", re.MULTILINE | re.DOTALL)
QUOTED = re.compile(r"(?<!`)`([^`]+)`(?!`)")
PATH = re.compile(r"[\w.*?{},+-]+(?:/[\w.*?{},+-]+)*/?")
PLACEHOLDER = re.compile(r"\b[A-Z]{2,}\b|[A-Z]{2,}_")
CHOICE = re.compile(r"\{([^{}]*)\}")
HISTORY = "CHANGELOG.md"
RESULTS = "docs/results/"


def tracked_files(root):
    listed = subprocess.run(["git", "-C", root, "ls-files", "-z"], stdout=subprocess.PIPE,
                            text=True, check=True)
    return [path for path in listed.stdout.split("\0") if path]


def with_folders(files):
    """Return the files, their folders, and the files without their endings."""
    names = set(files)
    for path in files:
        names.add(os.path.splitext(path)[0])
        while path := os.path.dirname(path):
            names.add(path)
    return names


def choices_of(word):
    """Return the words that a word with {a,b} stands for."""
    parts = CHOICE.split(word)
    options = [part.split(",") if place % 2 else [part] for place, part in enumerate(parts)]
    return ["".join(choice) for choice in itertools.product(*options)]


def paths_of(text, folders):
    """Yield (line, path) for each path of a document."""
    text = BLOCK.sub(lambda block: "\n" * block[0].count("\n"), text)
    for quoted in QUOTED.finditer(text):
        for word in quoted[1].split():
            if "/" in word and word.partition("/")[0] in folders and PATH.fullmatch(word) \
                    and not PLACEHOLDER.search(word) and not word.startswith(RESULTS):
                line = text.count("\n", 0, quoted.start()) + 1
                yield from ((line, path) for path in choices_of(word.rstrip("/.,:")))


def main(root):
    files = tracked_files(root)
    names = with_folders(files)
    folders = {path.partition("/")[0] for path in files if "/" in path}
    count, faults = 0, 0
    for document in files:
        if not document.endswith(".md") or document == HISTORY:
            continue
        with open(os.path.join(root, document), encoding="utf-8") as file:
            text = file.read()
        for line, path in paths_of(text, folders):
            count += 1
            if path not in names and not fnmatch.filter(names, path):
                faults += 1
                print(f"check-paths: {document}:{line}: no {path}", file=sys.stderr)
    if not count:
        sys.exit("check-paths: no document names a path")
    print(f"{count} paths")
    return 1 if faults else 0


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit("usage: check-paths.py ROOT")
    sys.exit(main(sys.argv[1]))
