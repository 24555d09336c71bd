#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-only
"""Print the instructions that trace events add to a frame, as a Markdown table.

usage: trace-event-cost.py ARCH=GUEST-OUTPUT...

A guest prints lines "@@ bench NAME-PATH FLOWS MEDIAN MEAN": NAME is "none", an event, "all", or
"hist-" and an event; PATH is "quick" or "first".
"""

import sys

from guest_log import split_lines

PATHS = ("quick", "first")


def medians(lines):
    """The median of each NAME-PATH, by the names in their order."""
    found = {}
    for word, rest in split_lines(lines):
        if word == "bench":
            case, _, median, _ = rest.split()
            name, path = case.rsplit("-", 1)
            found.setdefault(name, {})[path] = float(median)
    return found


def title(name):
    if name == "all":
        return "all events enabled"
    if name.startswith("hist-"):
        return f"`{name[5:]}` counted by a trigger (`hist:keys=direction`)"
    return f"`{name}` enabled"


def main():
    guests = []
    for argument in sys.argv[1:]:
        arch, path = argument.split("=", 1)
        with open(path, encoding="utf-8", errors="replace") as lines:
            guests.append((arch, medians(lines)))
    print("Instructions that a trace event adds to a frame, which makes two hook calls. No\n"
          "program reads the events.\n")
    heads = [f"{arch}, quick path | {arch}, first frame of a flow" for arch, _ in guests]
    print("| | " + " | ".join(heads) + " |")
    print("|---|" + "--:|" * len(guests) * len(PATHS))
    for name in guests[0][1]:
        if name != "none":
            print(f"| {title(name)} | " + " | ".join(
                f"{round(found[name][path] - found['none'][path])}"
                for _, found in guests for path in PATHS) + " |")


if __name__ == "__main__":
    main()
