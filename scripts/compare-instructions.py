#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-only
"""Compare counted loops with the baseline.

usage: compare-instructions.py BASELINE MEASURED

Prints a line for each loop that changed; fails when one takes over 3 % more instructions, or more
memory, or is missing.
"""

import sys

from figures import load, rounded

MOST_PERCENT = 3


def percent(old, now):
    if old == 0:
        return 0 if now == 0 else 100
    return now / old * 100 - 100


def verdict_of(old, now, same_compiler):
    """Return the change of one loop and whether it fails the check."""
    if now is None:
        return "MISSING", True
    if now["allocations"] > old["allocations"] or now["bytes"] > old["bytes"]:
        return (f"{old['allocations']} -> {now['allocations']} allocations, "
                f"{old['bytes']} -> {now['bytes']} bytes MORE"), True
    if not same_compiler:
        return None, False
    change = percent(old["instructions"], now["instructions"])
    instructions = f"{old['instructions']} -> {now['instructions']} instructions"
    if change > MOST_PERCENT:
        return f"{instructions}, +{rounded(change, 1)} % SLOWER", True
    if change < -MOST_PERCENT:
        return f"{instructions}, {rounded(change, 1)} % faster: --update keeps it so", False
    return None, False


def main(baseline, measured):
    try:
        old = load(baseline)
    except FileNotFoundError:
        sys.exit(f"there is no baseline {baseline}; ./run bench-check --update makes one")
    now = load(measured)
    same = old["compiler"] == now["compiler"]
    if not same:
        print(f"note: the baseline is of g++ {old['compiler']}, this is g++ {now['compiler']}: "
              "only allocations are compared")
    failed = False
    for name, loop in old["loops"].items():
        verdict, fails = verdict_of(loop, now["loops"].get(name), same)
        failed = failed or fails
        if verdict:
            print(f"{name}: {verdict}")
    for name in now["loops"]:
        if name not in old["loops"]:
            print(f"{name}: new, --update adds it")
    if failed:
        return 1
    print(f"{len(now['loops'])} loops, none slower than the baseline by more than "
          f"{MOST_PERCENT} %")
    return 0


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit("usage: compare-instructions.py BASELINE MEASURED")
    sys.exit(main(*sys.argv[1:]))
