#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-only
"""The frames of a capture that set the rows and attributes at fault.

usage: row_sources_test.py GPONFLOW SOURCE_ROOT

The captures are a bring-up of two UNIs with messages for a tagging operation of UNI 2 behind it.
"""

import json
import pathlib
import sys
import tempfile

import schemas
from captures import exchange, record, records, time_of
from checker import Checker

CREATE, SET, GET, GET_NEXT = 4, 8, 9, 26
FILTER, OPERATION = 84, 171
TABLE = "0400"


def row(vlan, treatment):
    """A row for single-tagged frames of a VLAN."""
    return f"f8000000{8 << 28 | vlan << 15:08x}{treatment}"


TO_300 = "400f000000080964"
DISCARD = "c00f0000000f0000"
DELETE = "ff" * 8
OTHERS_DISCARDED = "f8000000e8000000" + DISCARD


class Capture:
    """A bring-up and further messages."""

    def __init__(self, start):
        self.data = start
        self.frames = len(list(records(start)))

    def add(self, kind, entity, request, response="00"):
        """Add a request with its response. Return the number of its frame."""
        for frame in exchange(1000 + self.frames, kind, entity, bytes.fromhex(request),
                              bytes.fromhex(response)):
            self.frames += 1
            self.data += record(time_of(self.frames), frame)
        return self.frames - 1


class SourceChecker(Checker):
    """Compares the output of commands for one capture."""

    def __init__(self, tool, root, folder):
        super().__init__(tool)
        self.schemas = schemas.load(root)
        self.file = folder / "line.pcap"

    def write(self, capture):
        self.file.write_bytes(capture.data)

    def run(self, command, *options):
        return self.call(command, self.file, *options).stdout

    def document(self, command, *options):
        document, error = schemas.validate(self.schemas, self.run(command, "--json", *options))
        if error:
            sys.exit(f"{command} {options}: {error}")
        return document

    def explain(self, vlan, attribute, frame):
        """The frame that set the row which decides about a VLAN of UNI 2."""
        document = self.document("explain", "--uni", "2", "--vlan", str(vlan))
        step = document["halves"][0]["tagging"]["steps"][0]
        source = step["sources"][0]
        self.expect(f"row of VLAN {vlan}", (source["attribute"], source["frame"]),
                    (attribute, frame))
        text = self.run("explain", "--uni", "2", "--vlan", str(vlan))
        place = f"frame {frame}, response {frame + 1}"
        self.expect(f"text of VLAN {vlan}", f"      set in {place}\n" in text, True)
        if step["discarded"]:
            fault = document["faults"][0]
            self.expect(f"fault of VLAN {vlan}", fault["sources"], step["sources"])
            self.expect(f"sentence of VLAN {vlan}",
                        f" is written in {self.file}, {place}.\n" in text, True)


def set_rows(checker, start):
    """Rows that the OLT sets, replaces and deletes, and other attributes after them."""
    capture = Capture(start)
    one = (OPERATION, 1)
    created = capture.add(CREATE, one, "02 0102")
    first = capture.add(SET, one, TABLE + row(5, TO_300))
    capture.add(SET, one, TABLE + row(6, TO_300))
    capture.add(SET, one, TABLE + row(7, DISCARD))
    useless = capture.add(SET, one, TABLE + "f800000090028000" + TO_300)
    replaced = capture.add(SET, one, TABLE + row(6, DISCARD))
    capture.add(SET, one, TABLE + row(7, DELETE))
    capture.add(SET, one, "3800 8100 8100 00")
    checker.write(capture)
    checker.explain(5, "row", first)
    checker.explain(6, "row", replaced)
    checker.explain(7, "row", created)
    findings = [(one["kind"], one["frame"]) for one in checker.document("check")["findings"]
                if one["class_id"] == OPERATION]
    checker.expect("findings", findings, [("tagging-shadowed-row", useless)])
    frames = f"\n    set in frame {useless}, response {useless + 1}\n"
    checker.expect("text of check", frames in checker.run("check"), True)
    results = json.loads(checker.run("check", "--sarif"))["runs"][0]["results"]
    checker.expect("SARIF", [one["properties"] for one in results
                             if one["ruleId"] == "tagging-shadowed-row"], [{"frame": useless}])


def read_rows(checker, start):
    """A table that the OLT reads: 29 bytes in the first response, the rest in the second."""
    capture = Capture(start)
    one = (OPERATION, 1)
    associated = capture.add(GET, one, "8200", "00 8200 02 0102")
    capture.add(SET, one, "0800 00")
    capture.add(GET, one, TABLE, "00 0400 00000020")
    rows = row(5, TO_300) + OTHERS_DISCARDED
    first = capture.add(GET_NEXT, one, TABLE + "0000", "00 0400" + rows[:58])
    second = capture.add(GET_NEXT, one, TABLE + "0001", "00 0400" + rows[58:])
    capture.add(SET, one, "0800 00")
    checker.write(capture)
    checker.explain(5, "row", first)
    checker.explain(6, "row", second)
    scenario = checker.run("omci")
    checker.expect("comment of the association",
                   f"# frame {associated}, response {associated + 1}: reported by the ONU\n"
                   "tagging VLAN_TAG_EXTEND_OPERATE 0x0001 association=2" in scenario, True)


def set_filter(checker, start):
    """An attribute of a filter, and another one after it."""
    capture = Capture(start)
    one = (FILTER, 0x2001)
    entries = capture.add(SET, one, "8000" + "012d".ljust(48, "0"))
    checker.write(capture)
    fault = checker.document("explain", "--uni", "2", "--vlan", "300")["faults"][0]
    checker.expect("entity", (fault["class_id"], fault["instance"]), one)
    checker.expect("entries", (fault["sources"][0]["attribute"], fault["sources"][0]["frame"]),
                   ("vlanFilterList", entries))
    created = fault["sources"][1]["frame"]
    text = checker.run("explain", "--uni", "2", "--vlan", "300")
    checker.expect("text of the filter",
                   f"\nvlanFilterList of VLAN_TAG_FILTER_DATA 0x2001 is written in {checker.file}, "
                   f"frame {entries}, response {entries + 1}, vlanFilterNums in {checker.file}, "
                   f"frame {created}, " in text, True)


def main():
    tool, root = sys.argv[1], pathlib.Path(sys.argv[2])
    start = (root / "docs/cookbook/bring-up.pcap").read_bytes()
    with tempfile.TemporaryDirectory() as folder:
        checker = SourceChecker(tool, root, pathlib.Path(folder))
        set_rows(checker, start)
        read_rows(checker, start)
        set_filter(checker, start)
    checker.exit()


main()
