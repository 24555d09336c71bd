#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-only
"""usage: fuzz-row.py TARGET SECONDS LOAD <LOG

Prints a run of a fuzzer as a row of docs/results/fuzzers.md: the inputs, their rate, the load, and
the covered edges of the corpus, after a quarter and after half of the inputs, and at the end.
"""
import re
import sys


def read_log(lines):
    """Returns the inputs, the edges of the corpus, and a list of (input, covered edges)."""
    runs, first, progress = 0, 0, []
    for line in lines:
        if found := re.match(r"#(\d+)\s+(\w+).* cov: (\d+)", line):
            progress.append((int(found[1]), int(found[3])))
            if found[2] == "INITED":
                first = int(found[3])
        elif found := re.match(r"stat::number_of_executed_units:\s*(\d+)", line):
            runs = int(found[1])
    if not runs:
        sys.exit("fuzz-row: the log has no number of executed units")
    return runs, first, progress


def covered(progress, runs, first, part):
    """Returns the covered edges after that part of the inputs."""
    edges = [edges for number, edges in progress if number <= runs * part]
    return max([first] + edges[-1:])


def main(target, seconds, load):
    runs, first, progress = read_log(sys.stdin)
    edges = [first] + [covered(progress, runs, first, part) for part in (0.25, 0.5, 1)]
    print(f"| {target} | {seconds} s | {runs} | {runs / int(seconds):.1f} | {load} |",
          f"{', '.join(map(str, edges))} | none |")


main(*sys.argv[1:])
