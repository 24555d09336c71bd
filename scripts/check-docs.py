#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-only
"""Compare the transcripts in documents with the recorded one.

usage: check-docs.py TRANSCRIPT FILE...

Every block of a document that is marked ```transcript must be, line for line, in the transcript. A
document without any such block is an error too. Blanks at the end of a line do not count.
"""

import sys


def lines_of(path):
    with open(path, encoding="utf-8", errors="surrogateescape") as file:
        return [line.rstrip() for line in file.read().split("\n")]


def faults_of(path, recorded):
    """Yield the faults of one document."""
    start, blocks, block = 0, 0, []
    for number, line in enumerate(lines_of(path), 1):
        if not start:
            if line == "```transcript":
                start, block = number, []
        elif line != "```":
            block.append(line)
        else:
            blocks += 1
            if not block or "\n".join(["", *block, ""]) not in recorded:
                yield f"{path}:{start}: this block is not in the transcript"
            start = 0
    if start or not blocks:
        yield f"{path}: no block, or one without an end"


def main(transcript, *paths):
    recorded = "\n".join(["", *lines_of(transcript), ""])
    faults = [fault for path in paths for fault in faults_of(path, recorded)]
    for fault in faults:
        print(fault)
    return 1 if faults else 0


if __name__ == "__main__":
    if len(sys.argv) < 3:
        sys.exit("usage: check-docs.py TRANSCRIPT FILE...")
    try:
        sys.exit(main(*sys.argv[1:]))
    except OSError as error:
        sys.exit(f"check-docs: {error}")
