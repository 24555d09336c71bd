#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-only
"""Damaged captures as the line and as the traffic of each command.

usage: damaged_captures_test.py GPONFLOW SOURCE_ROOT

A capture that ends early is used up to there, with a warning and status 1: the output is that of a
whole capture of these frames. One that cannot be used is an error with status 2, and nothing else
is printed.
"""

import itertools
import pathlib
import re
import struct
import sys
import tempfile

from captures import HEADER, pcapng, record, records
from checker import Checker

WIFI = 105


def section(data, count):
    """The first records as a section of a pcapng file."""
    return pcapng(itertools.islice(records(data), count))


def sliced(data, most):
    return data[:HEADER] + b"".join(record(time, frame, most) for time, frame in records(data))


def first_half(data):
    """The frames before the damage of each variant that ends early."""
    frames = list(records(data))
    return data[:HEADER + sum(16 + len(frame) for _, frame in frames[:len(frames) // 2])]


def variants(data):
    """Damaged files by name."""
    half = len(list(records(data))) // 2
    whole = len(first_half(data))
    return {
        "cut in a frame": data[:whole + 30],
        "cut in the head of a frame": data[:whole + 7],
        "garbage": data[:whole] + b"\xff" * 64 + data[whole:],
        "garbage alone": b"\x5a" * 400,
        "cut in the file's head": data[:HEADER - 3],
        "empty": b"",
        "another link type": data[:20] + struct.pack("<I", WIFI) + data[HEADER:],
        "broken section": section(data, half) + struct.pack("<III", 6, 17, 5) + b"\0" * 40,
        "cut section": section(data, half + 1)[:-9],
        "sliced": sliced(data, 18),
        "second section broken": section(data, half) + b"\x0a\x0d\x0d\x0a" + b"\xff" * 28,
    }


EARLY = (1, "warning: ends early, ")
SHORT = (2, "too short for a capture")
NO_LINE = (2, "unknown command 'ZZZ")
NO_CAPTURE = (2, "no capture: neither pcap nor pcapng")
EMPTY_LINE = (1, "warning: no command: the line is empty")

# Status and message of a command, by variant. An empty file may be a scenario.
LINE = {
    "cut in a frame": EARLY,
    "cut in the head of a frame": EARLY,
    "garbage": EARLY,
    "broken section": EARLY,
    "cut section": EARLY,
    "second section broken": EARLY,
    "sliced": (1, "the capture holds 18 of the frame's "),
    "garbage alone": NO_LINE,
    "cut in the file's head": SHORT,
    "another link type": (2, "link type 105 (IEEE802_11) carries no OMCI"),
    "empty": EMPTY_LINE,
}
LINE_OF_OMCI = LINE | {"garbage alone": NO_CAPTURE, "empty": SHORT}
NO_UNI = (2, "the line has no UNI")
LINE_OF_EXPLAIN = LINE | {"empty": NO_UNI, "sliced": NO_UNI}
LINE_OF_SHOW = LINE | {"empty": (3, "the module is not loaded")}
TRAFFIC = {variant: EARLY for variant, expected in LINE.items() if expected is EARLY} | {
    "sliced": (0, "frames end in the capture"),
    "garbage alone": NO_CAPTURE,
    "cut in the file's head": SHORT,
    "another link type": (2, "its frames are not Ethernet but IEEE802_11"),
    "empty": SHORT,
}
# The frame is before the damage. Of a frame that is cut, the output itself has a note.
ONE_FRAME = TRAFFIC | {variant: (0, "") for variant, expected in TRAFFIC.items()
                       if expected is EARLY or variant == "sliced"}


def commands(line, traffic, folder):
    """Each command, {} for a damaged file, with the outcomes by variant."""
    page = folder / "page.html"
    of_line = [(words, LINE) for words in (
        "check {}", "graph {}", f"report {{}} -o {page}",
        "show status {}", "stat {}", "monitor {}", "watch --once {}", "trace outer_vlan=300p6 {}",
        f"omci --diff {{}} {line}")]
    of_line += [(words, LINE_OF_OMCI) for words in ("omci {}", "omci --summary {}")]
    of_line += [(words, LINE_OF_SHOW) for words in ("show me {}", "show rules {}")]
    of_line += [(f"{command} {{}} --uni 1 --pcap {traffic}", LINE_OF_EXPLAIN)
                for command in ("explain", "account")]
    of_traffic = [(words, TRAFFIC) for words in (
        f"account {line} --uni 2 --pcap {{}}",
        f"report {line} -o {page} --uni 2 --pcap {{}}")]
    of_traffic += [(words, ONE_FRAME) for words in (
        f"explain {line} --uni 2 --pcap {{}}", f"explain {line} --uni 2 --pcap {{}} --frame 3",
        f"graph {line} --uni 2 --pcap {{}}")]
    return [(line, of_line), (traffic, of_traffic)]


def run(checker, words, file):
    return checker.call(*(str(file) if one == "{}" else one for one in words.split()))


NOTE = re.compile(r'<div class="warning" role="note"><ul>\s*<li>[^<]*: ends early[^<]*</li>'
                  r'\s*</ul></div>')


def results_of(done, file):
    """Standard output and the page if one was written, both without the remark about the damage."""
    page = file.parent / "page.html"
    text = page.read_text(encoding="utf-8") if page.is_file() else ""
    page.unlink(missing_ok=True)
    remark = re.compile(r"^.*(?:Ends early|ends early).*\n", re.MULTILINE)
    return remark.sub("", done.stdout), re.sub(r"\s*\n", "\n", NOTE.sub("", text))


def fault_of(checker, words, expected, file, whole):
    """Run a command with a damaged file; return what is wrong, or nothing. `whole` are the results
    for the frames before the damage."""
    status, message = expected
    done = run(checker, words, file)
    results = results_of(done, file)
    if done.returncode != status:
        return f"exit status {done.returncode}, not {status}: {done.stderr}"
    if message not in done.stderr:
        return f"no '{message}' in: {done.stderr}"
    if status >= 2 and done.stdout:
        return f"prints more than messages: {done.stdout[:200]}"
    # `report` writes a file, and `monitor` of an empty line has nothing to print.
    if status < 2 and not done.stdout and not words.startswith(("report", "monitor")):
        return "prints nothing"
    if expected is EARLY and results != whole:
        return f"other results than for the frames before the damage:\n{done.stdout[:2000]}"
    return None


def main():
    checker, root = Checker(sys.argv[1]), pathlib.Path(sys.argv[2])
    line = root / "docs/cookbook/bring-up.pcap"
    traffic = root / "docs/cookbook/lost.pcap"
    with tempfile.TemporaryDirectory() as folder:
        file = pathlib.Path(folder) / "damaged.pcap"
        for damaged, table in commands(line, traffic, pathlib.Path(folder)):
            file.write_bytes(first_half(damaged.read_bytes()))
            whole = {words: results_of(run(checker, words, file), file) for words, _ in table}
            for variant, data in variants(damaged.read_bytes()).items():
                file.write_bytes(data)
                for words, outcomes in table:
                    fault = fault_of(checker, words, outcomes[variant], file, whole[words])
                    if fault:
                        checker.complain(f"gponflow {words}, {variant}: {fault}")
    checker.exit()


if __name__ == "__main__":
    main()
