#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-only
"""What report, explain and account say about the same frames.

usage: same_reasons_test.py GPONFLOW SOURCE_ROOT FLOWS [CAPTURE...]

The captures of the tree, unless others are named, on the subscriber's line without and with tagging
operations.

FLOWS flows of each outcome in a report are explained by their first frame: both have the same
outcome, and for a drop the same reason. The drops of account are those of the report.
"""

import collections
import itertools
import json
import os
import pathlib
import sys
import tempfile

from checker import Checker, title_of

# One hook call, or the entry of a frame that goes through both calls of its direction.
ENTRIES = ["kind=up_uni,port=1", "kind=up_uni,port=2", "kind=up_ani", "kind=down_ani,gem=1025",
           "kind=down_ani,gem=1050", "--uni 1", "--uni 2", "--gem 1025", "--gem 1050"]


def without_leak_search():
    """The environment for repetitions: the address sanitizer searches the first run for leaks."""
    options = [os.environ.get("ASAN_OPTIONS"), "detect_leaks=0"]
    return {**os.environ, "ASAN_OPTIONS": ":".join(filter(None, options))}


class ReasonChecker(Checker):
    def __init__(self, tool, flows_each):
        super().__init__(tool)
        self.flows_each = flows_each
        self.line = None
        self.compared = collections.Counter()

    def run(self, *words, environment=None):
        done = self.call(*words, "--json", env=environment)
        if not done.stdout:
            sys.exit(f"{title_of(words)}: {done.stderr}")
        return json.loads(done.stdout)

    def explain(self, capture, entry, number, repeated):
        words = entry.replace(",", " ").split()
        return self.run("explain", self.line, *words, "--pcap", capture, "--frame", number,
                        environment=without_leak_search() if repeated else None)

    def of_capture(self, command, capture, entry):
        words = [*entry.split(), "--pcap", capture]
        if not entry.startswith("--"):
            words = ["--pcap", f"{capture},{entry}"]
        return self.run(command, self.line, *words)

    def compare_flow(self, capture, entry, flow, repeated):
        number = flow["first"].rpartition("#")[2]
        explained = self.explain(capture, entry, number, repeated)
        title = f"{capture} {entry} frame {number}"
        outcomes = {half["kind"]: half["outcome"] for half in explained["halves"]}
        if outcomes.get(flow["kind"]) != flow["outcome"]:
            self.complain(f"{title}: {outcomes}, in the report {flow['kind']} {flow['outcome']}")
        elif flow["outcome"] == "dropped" and flow["text"] not in explained["sentence"]:
            self.complain(f"{title}: {explained['sentence']}\n  in the report: {flow['text']}")
        self.compared[flow["outcome"]] += 1
        return {note.removesuffix(".") for note in explained["notes"] if "the ONU decides" in note}

    def compare_drops(self, capture, entry, account, report):
        counted = collections.Counter()
        for direction in account["directions"]:
            for row in direction["dropped"]:
                counted[row["text"].partition(": ")[2]] += row["frames"]
        reported = collections.Counter()
        for drop in report["drops"]:
            reported[drop["reason"]] += drop["frames"]
        if counted != reported:
            self.complain(f"{capture} {entry}: account {counted}\n  report {reported}")

    def compare_notes(self, capture, entry, notes, account, report):
        """In explain, account and report: per direction, and about all frames."""
        for name, document in (("account", account), ("report", report)):
            found = {note for one in document["directions"] for note in one["notes"]}
            if found != notes:
                self.complain(f"{capture} {entry}: notes {notes}, of {name} {found}")
        if account["notes"] != report["notes"]:
            self.complain(f"{capture} {entry}: account {account['notes']}, "
                          f"report {report['notes']}")
        self.compared["note"] += len(notes)
        self.compared["gap"] += sum("was not applied" in note for note in account["notes"])

    def compare(self, capture, entry):
        report = self.of_capture("report", capture, entry)
        account = self.of_capture("account", capture, entry)
        if report["drops_left_out"] == 0:
            self.compare_drops(capture, entry, account, report)
        notes = set()
        seen = collections.Counter()
        for flow in report["flows"]:
            key = (flow["kind"], flow["outcome"], flow["text"])
            seen[key] += 1
            if seen[key] <= self.flows_each:
                notes |= self.compare_flow(capture, entry, flow, seen[key] > 1)
        self.compare_notes(capture, entry, notes, account, report)


# Translate, add and discard upstream; mode 0 downstream, and one that discards what no row makes.
OPERATIONS = """
me create VLAN_TAG_EXTEND_OPERATE 1
tagging VLAN_TAG_EXTEND_OPERATE 1 association=2 associated=0x0101 rows=default
tagging VLAN_TAG_EXTEND_OPERATE 1 row=f8000000f8000000000f000000000324
tagging VLAN_TAG_EXTEND_OPERATE 1 row=f80000008064800040000f0000080640
tagging VLAN_TAG_EXTEND_OPERATE 1 row=f800000080c80000c00f0000000f0000
me create VLAN_TAG_EXTEND_OPERATE 2
tagging VLAN_TAG_EXTEND_OPERATE 2 association=2 associated=0x0102 downstream_mode=5
tagging VLAN_TAG_EXTEND_OPERATE 2 row=f8000000f8000000000f00000000a964
"""


def main():
    tool, root = sys.argv[1], pathlib.Path(sys.argv[2])
    captures = sys.argv[4:] or sorted(map(str, root.glob("captures/*.pcap")))
    plain = root / "scenarios/subscriber-line.scn"
    with tempfile.TemporaryDirectory() as folder:
        tagged = pathlib.Path(folder) / "tagged.scn"
        tagged.write_text(plain.read_text(encoding="utf-8") + OPERATIONS, encoding="utf-8")
        check = ReasonChecker(tool, int(sys.argv[3]))
        for line, capture, entry in itertools.product((plain, tagged), captures, ENTRIES):
            check.line = str(line)
            check.compare(capture, entry)
    print(dict(check.compared))
    least = {"passed": 200, "dropped": 100, "note": 4, "gap": 5}
    if not sys.argv[4:] and any(check.compared[one] < least[one] for one in least):
        check.complain("too few flows were compared")
    check.exit()


if __name__ == "__main__":
    main()
