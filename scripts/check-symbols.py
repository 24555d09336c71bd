#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-only
"""Check the symbols to which the objects of the core refer.

usage: check-symbols.py ROOT OBJECT...

The core is layered, and an object refers only to symbols of its own layer and of lower ones. A
declaration that a header marks with GPON_DEFINED_IN(FOLDER) counts as a part of that header, if the
folder defines it; only one header may have such marks. An object is named after its source:
.../src/FOLDER/FILE.cpp.o. nm comes from NM.
"""

import glob
import os
import re
import subprocess
import sys

from layers import Layers

MARK = re.compile(r"^[ \t]*GPON_DEFINED_IN\((\w+)\)(.*;)", re.MULTILINE)
SYMBOL = re.compile(r"(.*?): (\S+) (\S)")


def source_of(item):
    return "src/" + item.rpartition("/src/")[2].removesuffix(".o")


def marks_in(root):
    """Return the folder and the header of each marked symbol."""
    marks = {}
    for path in sorted(glob.glob(f"{root}/src/**/*.h", recursive=True)):
        with open(path, encoding="utf-8") as file:
            # The definition of the mark does not end in a semicolon.
            for folder, declaration in MARK.findall(file.read()):
                declaration = re.sub(r"\[[^]]*\]", "", declaration)
                name = re.search(r"(\w+)\W*;", declaration)[1]
                marks[name] = folder, source_of(path)
    return marks


def references_in(objects):
    """Return the (source, symbol) pairs of all references, and the source of each definition."""
    run = subprocess.run([os.environ.get("NM", "nm"), "-A", "-P", *objects],
                         stdout=subprocess.PIPE, text=True, check=False)
    if run.returncode != 0:
        sys.exit("check-symbols: nm failed")
    references, definer = set(), {}
    for item, symbol, kind in SYMBOL.findall(run.stdout):
        if kind == "U":
            references.add((source_of(item), symbol))
        elif kind in "TDBRGS":
            definer[symbol] = source_of(item)
    return references, definer


def mark_faults(marks, definer):
    for symbol, (folder, header) in marks.items():
        if not definer.get(symbol, "").startswith(f"src/{folder}/"):
            yield f"{header} marks {symbol}, which {folder}/ does not define"
    headers = sorted({header for _, header in marks.values()})
    if len(headers) > 1:
        yield f"more than one header has marks: {' '.join(headers)}"


def faults_of(root, objects):
    layers = Layers(root)
    marks = marks_in(root)
    references, definer = references_in(objects)
    sources = {source_of(item) for item in objects}
    unknown = {source for source in sources if layers.rank_of(source) is None}
    yield from (f"{source} is in no layer" for source in unknown)
    yield from mark_faults(marks, definer)
    for source, symbol in references:
        if symbol not in definer or source in unknown or definer[symbol] in unknown:
            continue
        place = marks[symbol][1] if symbol in marks else definer[symbol]
        if layers.rank_of(place) > layers.rank_of(source):
            yield f"{source} refers to {symbol} of {definer[symbol]}, a layer above its own"


def main(root, *objects):
    faults = sorted(faults_of(root, objects))
    for fault in faults:
        print(f"check-symbols: {fault}", file=sys.stderr)
    return 1 if faults else 0


if __name__ == "__main__":
    if len(sys.argv) < 3:
        sys.exit("check-symbols: no object given")
    sys.exit(main(*sys.argv[1:]))
