#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-only
"""What report, explain and account say about the same frames.

usage: same_reasons_test.py GPONFLOW SOURCE_ROOT [CAPTURE...]

The captures of the tree, unless others are named, on the subscriber's line without and with tagging
operations.

Each flow of a report is explained by its first frame: both have the same outcome, and for a drop
the same reason. The drops of account are those of the report.
"""

import collections
import itertools
import json
import pathlib
import subprocess
import sys
import tempfile

KINDS = ["kind=up_uni,port=1", "kind=up_uni,port=2", "kind=up_ani", "kind=down_ani,gem=1025",
         "kind=down_ani,gem=1050"]
FLOWS_EACH = 6  # of a capture with the same outcome


class Checker:
    def __init__(self, tool):
        self.tool = tool
        self.line = None
        self.faults = 0
        self.compared = collections.Counter()

    def run(self, *words):
        done = subprocess.run([self.tool, *words, "--json"], capture_output=True, text=True,
                              check=False, timeout=120)
        if not done.stdout:
            sys.exit(f"gponflow {' '.join(words)}: {done.stderr}")
        return json.loads(done.stdout)

    def complain(self, text):
        print(text)
        self.faults += 1

    def explain(self, capture, kind, number):
        return self.run("explain", self.line, *kind.split(","), "--pcap", capture,
                        "--frame", number)

    def compare_flow(self, capture, kind, flow):
        number = flow["first"].rpartition("#")[2]
        explained = self.explain(capture, kind, number)
        title = f"{capture},{kind} frame {number}"
        if explained["outcome"] != flow["outcome"]:
            self.complain(f"{title}: {explained['outcome']}, in the report {flow['outcome']}")
        elif flow["outcome"] == "dropped" and flow["text"] not in explained["sentence"]:
            self.complain(f"{title}: {explained['sentence']}\n  in the report: {flow['text']}")
        self.compared[flow["outcome"]] += 1
        return {note.removesuffix(".") for note in explained["notes"] if "the ONU decides" in note}

    def account(self, capture, kind):
        account = self.run("account", self.line, "--pcap", f"{capture},{kind}")
        name = kind.split(",")[0].removeprefix("kind=")
        return next(one for one in account["directions"] if one["kind"] == name)

    def compare_drops(self, capture, kind, account, report):
        counted = collections.Counter()
        for row in account["dropped"]:
            counted[row["text"].partition(": ")[2]] += row["frames"]
        reported = collections.Counter()
        for drop in report["drops"]:
            reported[drop["reason"]] += drop["frames"]
        if counted != reported:
            self.complain(f"{capture},{kind}: account {counted}\n  report {reported}")

    def compare(self, capture, kind):
        report = self.run("report", self.line, "--pcap", f"{capture},{kind}")
        account = self.account(capture, kind)
        if report["drops_left_out"] == 0:
            self.compare_drops(capture, kind, account, report)
        notes = set()
        seen = collections.Counter()
        for flow in report["flows"]:
            key = (flow["outcome"], flow["text"])
            seen[key] += 1
            if seen[key] <= FLOWS_EACH:
                notes |= self.compare_flow(capture, kind, flow)
        if notes != set(account["notes"]):
            self.complain(f"{capture},{kind}: notes {notes}, of account {account['notes']}")
        self.compared["note"] += len(notes)


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
    captures = sys.argv[3:] or sorted(map(str, root.glob("captures/*.pcap")))
    plain = root / "scenarios/subscriber-line.scn"
    with tempfile.TemporaryDirectory() as folder:
        tagged = pathlib.Path(folder) / "tagged.scn"
        tagged.write_text(plain.read_text(encoding="utf-8") + OPERATIONS, encoding="utf-8")
        check = Checker(tool)
        for line, capture, kind in itertools.product((plain, tagged), captures, KINDS):
            check.line = str(line)
            check.compare(capture, kind)
    print(dict(check.compared))
    least = {"passed": 100, "dropped": 50, "note": 2}
    if not sys.argv[3:] and any(check.compared[one] < least[one] for one in least):
        check.complain("too few flows were compared")
    sys.exit(check.faults != 0)


if __name__ == "__main__":
    main()
