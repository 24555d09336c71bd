#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-only
"""Read the output of a guest. The lines that begin with "@@" are for the host.

usage: guest_log.py tests KERNEL <GUEST-OUTPUT
       guest_log.py summary NAME <GUEST-OUTPUT
       guest_log.py row NAME <GUEST-OUTPUT

tests prints a line for each test that ended, with its notes if it passed, otherwise its output.
summary adds up the tests, detectors, injected failures and calls of one boot or several; row prints
them as a row of docs/results/debug-kernels.md, with the tests that did not pass.
"""

import re
import sys
from collections import Counter

DETECTORS = re.compile(r"(?P<detectors>\d+) detectors? fired")
INJECTIONS = re.compile(r"\S+ (?P<operations>\d+) operations, (?P<failures>\d+) failures injected, "
                        r"(?P<refused>\d+) operations refused")
CALLS = re.compile(r"\S+ (?P<calls>\d+) calls, \d+ wrong results")
JSON_MARKS = ("json-begin", "json", "json-end")


def split_lines(lines):
    """Yield (word behind the mark, rest) for a line to the host, (None, line) for any other."""
    for line in lines:
        line = line.replace("\r", "").rstrip("\n")
        if line.startswith("@@ "):
            word, _, rest = line[3:].partition(" ")
            yield word, rest
        else:
            yield None, line


def show_tests(kernel, lines):
    output, notes = [], []
    for word, rest in split_lines(lines):
        if word == "begin":
            output, notes = [], []
        elif word == "note":
            notes.append(f"    {rest}")
        elif word in JSON_MARKS:
            continue  # for check-json.py
        elif word == "end":
            name, status, seconds = rest.split()
            passed = status == "0"
            result = "ok    " if passed else "FAILED"
            print(f"  {kernel:14} {name:32} {result} {seconds:>4} s",
                  *(notes if passed else output + notes), sep="\n")
            output = []
        elif word == "done":
            break
        else:
            output.append(f"@@ {word} {rest}" if word else rest)
    # That of a test that did not end.
    for line in output:
        print(line)


def add_up(lines):
    """Return the sums of all boots, and the tests that did not pass."""
    sums, failed, running = Counter(), [], None
    for word, rest in split_lines(lines):
        if word == "begin":
            failed += [running] if running else []
            running = rest
        elif word == "end":
            name, status, seconds = rest.split()
            sums.update(tests=1, passed=int(status == "0"), seconds=int(seconds))
            failed += [name] if status != "0" else []
            running = None
        elif word == "the" and rest.startswith("kernel complained"):
            failed.append("the kernel log")
        elif word == "note":
            for form in (DETECTORS, INJECTIONS, CALLS):
                if match := form.match(rest):
                    sums.update({key: int(value) for key, value in match.groupdict().items()})
    return sums, failed + ([running] if running else [])


def show_summary(name, lines):
    sums, _ = add_up(lines)
    print(f"{name}: {sums['passed']} of {sums['tests']} tests passed in {sums['seconds']} s of "
          f"guest time, {sums['detectors']} detectors fired on purpose")
    if sums["failures"]:
        print(f"{name}: {sums['failures']} failures injected into {sums['operations']} operations, "
              f"{sums['refused']} times refused")
    print(f"{name}: {sums['calls']} calls in contention")


def show_row(name, lines):
    sums, failed = add_up(lines)
    print(f"| {name} | {sums['passed']} | {' '.join(failed) or 'none'} | {sums['detectors']} | "
          f"{sums['failures']} | {sums['calls']} | {sums['seconds']} s |", end="")


def main(arguments):
    actions = {"tests": show_tests, "summary": show_summary, "row": show_row}
    if len(arguments) != 2 or arguments[0] not in actions:
        sys.exit(__doc__)
    # A test may print any bytes.
    sys.stdin.reconfigure(errors="replace")
    actions[arguments[0]](arguments[1], sys.stdin)


if __name__ == "__main__":
    main(sys.argv[1:])
