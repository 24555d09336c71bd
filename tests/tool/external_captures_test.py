#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-only
"""Captures that other programs wrote, which are no part of the tree.

usage: external_captures_test.py GPONFLOW FOLDER

FOLDER has omci-bringup.pcap, 802.1ad_QinQ.pcap, IGMP_V2.pcap and various_gre.pcap. GPON_CAPTURES
names another folder. The exit status is 77 if the folder does not exist.

The expected results were worked out from the bytes of the captures with a hex dump, not with the
tool. The OLT of omci-bringup.pcap configures one UNI, bridge 1 and two services: VLAN 100 on GEM
port 1001 and VLAN 200 on GEM port 1002. The tagging operation of the UNI discards frames with
another tag, and those with two tags. It has no row for untagged frames.
"""

import json
import os
import pathlib
import sys

from checker import Checker

SKIPPED = 77
GEM_PORTS = {"GEM port 1001 from bridge 1": 100, "GEM port 1002 from bridge 1": 200}
OPERATION = "VLAN_TAG_EXTEND_OPERATE 0x0001 of PPTP_ETHERNET_UNI 0x0101 discards the frame: "
UNTAGGED = "; ".join(f"VLAN_TAG_FILTER_DATA {filter} of bridge 1 (forwardOperation 0x10) drops "
                     "untagged frames" for filter in ("0x0002", "0x0003"))
QINQ = "VLAN 200 priority 0 (TPID 0x88a8), inner VLAN 2001 priority 0: "


class CaptureChecker(Checker):
    def __init__(self, tool, folder):
        super().__init__(tool)
        self.folder = folder
        self.line = str(folder / "omci-bringup.pcap")

    def run(self, *words, status=0):
        return self.call(*words, status=status).stdout

    def document(self, *words, status=0):
        return json.loads(self.run(*words, "--json", status=status) or "{}")

    def capture(self, name):
        return str(self.folder / name)


def check_omci(check):
    """63 requests and as many responses: 38 parts of a MIB upload, 16 creates, 8 sets."""
    summary = check.run("omci", check.line, "--summary")
    for text in ("126 frames, ONU 00:00:00:00:00:01",
                 "commands        15 create, 8 set, 0 delete",  # and a GAL Ethernet profile
                 "MIB upload      38 parts captured, 0 missing",
                 "requests        63, of these 63 answered, 0 repeated, 0 unanswered",
                 "median 0.029 ms, longest 0.098 ms (frame 7: MIB upload next",
                 "T_CONT 0x8000  alloc-ID 1000",
                 "GEM port 1001  GEM_PORT_CTP 0x0001, both directions",
                 "GEM port 1002  GEM_PORT_CTP 0x0002, both directions",
                 "without an alloc-ID: T_CONT 0x8001"):
        if text not in summary:
            check.complain(f"omci --summary: no '{text}' in:\n{summary}")
    scenario = check.run("omci", check.line)
    # The ONU names instance 2 in its response to the create of instance 3.
    if "frame 115, response 116: create MAC bridge port configuration data 0x0003; the response " \
            "names instance 0x0002" not in scenario:
        check.complain("omci: no remark about the response of frame 116")
    document = check.document("omci", check.line)
    check.expect("omci --json, median", document["responses"]["median_ns"], 29000)
    found = check.document("check", check.line)
    check.expect("check", (found["problems"], found["warnings"]), (0, 0))
    me = check.document("show", "me", check.line, "--class", "GEM_PORT_CTP")
    check.expect("show me", [one["attributes"]["portID"] for one in me["instances"]], [1001, 1002])


def check_explain(check):
    for vlan, port in ((100, 1001), (200, 1002)):
        for priority in (0, 7):
            up = check.document("explain", check.line, "--uni", "1", "--vlan", f"{vlan}p{priority}")
            check.expect(f"explain --vlan {vlan}p{priority}",
                         (up["outcome"], up.get("gem_port")), ("passed", port))
        down = check.document("explain", check.line, "--gem", str(port), "--vlan", str(vlan))
        check.expect(f"explain --gem {port}", (down["outcome"], down.get("bridge")), ("passed", 1))
        other = check.document("explain", check.line, "--gem", str(port), "--vlan", str(300 - vlan))
        check.expect(f"explain --gem {port}, the other VLAN", other["outcome"], "dropped")
    for words, row in ((["--vlan", "300"], "other single-tagged"),
                       (["--vlan", "200", "--tpid", "0x88a8", "--inner", "2001"],
                        "other double-tagged"),
                       (["--vlan", "100", "--inner", "100"], "other double-tagged"),
                       (["--pcap", check.capture("802.1ad_QinQ.pcap"), "--frame", "2"],
                        "other double-tagged")):
        found = check.document("explain", check.line, "--uni", "1", *words)
        check.expect(f"explain {' '.join(words)}", found["sentence"],
                     f"The frame from UNI 1 is dropped: the tagging operation {OPERATION}{row}: "
                     "discard.")
    igmp = check.document("explain", check.line, "--uni", "1", "--pcap",
                          check.capture("IGMP_V2.pcap"), "--frame", "5")
    check.expect("explain of an IGMP frame", (igmp["frame"]["protocol"], igmp["frame"]["to"]),
                 ("IPv4 IGMP", "224.0.0.2"))
    check.expect("explain of an IGMP frame", igmp["sentence"],
                 f"The frame from UNI 1 is dropped: {UNTAGGED}; the frame is untagged.")


# Frames of each direction and what happens to them.
TRAFFIC = {
    "802.1ad_QinQ.pcap": {
        "up_uni": {"dropped": {QINQ + OPERATION + "other double-tagged: discard": 2}}},
    "IGMP_V2.pcap": {
        "up_uni": {"passed": {"into bridge 1": 18}},
        "up_ani": {"dropped": {"untagged: " + UNTAGGED: 18}}},
    # CDP, DTP, spanning tree and loop frames are untagged. VLAN 1213 has 30 GRE frames and 21 of
    # the spanning tree.
    "various_gre.pcap": {
        "up_uni": {"passed": {"into bridge 1": 49},
                   "dropped": {"VLAN 1213 priority 0: " + OPERATION +
                               "other single-tagged: discard": 51}},
        "up_ani": {"dropped": {"untagged: " + UNTAGGED: 49}}},
}


def rows_of(direction):
    rows = {outcome: {row["text"]: row["frames"] for row in direction[outcome]}
            for outcome in ("passed", "dropped", "not_classified")}
    return {outcome: texts for outcome, texts in rows.items() if texts}


def check_traffic(check):
    for name, expected in TRAFFIC.items():
        words = [check.line, "--uni", "1", "--pcap", check.capture(name)]
        account = check.document("account", *words)
        check.expect(f"account of {name}",
                     {one["kind"]: rows_of(one) for one in account["directions"] if one["frames"]},
                     expected)
        report = check.document("report", *words)
        totals = {kind: {outcome: sum(texts.values()) for outcome, texts in outcomes.items()}
                  for kind, outcomes in expected.items()}
        check.expect(f"report of {name}",
                     {one["kind"]: {outcome: one[outcome] for outcome in ("passed", "dropped")
                                    if one[outcome]}
                      for one in report["directions"] if one["frames"]}, totals)
        check.expect(f"flows of {name}", sum(flow["frames"] for flow in report["flows"]),
                     sum(one["frames"] for one in report["directions"]))
        assumed = check.document("account", check.line, "--pcap", check.capture(name))
        check.expect(f"account of {name} without --uni", assumed["directions"],
                     account["directions"])
        check.expect(f"notes of {name}", (account["notes"], len(assumed["notes"])), ([], 1))


def check_page(check):
    """The page of the UNI's frames, and the same captures as frames of the OLT."""
    page = check.run("report", check.line, "--pcap", check.capture("various_gre.pcap"), "-o", "-")
    for text in ("<dt>frames</dt><dd>100</dd>", "<dt>dropped</dt><dd>100</dd>",
                 "The frames enter at UNI 1"):
        if text not in page:
            check.complain(f"report: no '{text}'")
    down = check.document("account", check.line, "--gem", "1001", "--pcap",
                          check.capture("IGMP_V2.pcap"))
    filtered = "untagged: VLAN_TAG_FILTER_DATA 0x0002 of bridge 1 (forwardOperation 0x10) drops " \
        "untagged frames"
    check.expect("account --gem of IGMP_V2.pcap",
                 {one["kind"]: rows_of(one) for one in down["directions"] if one["frames"]},
                 {"down_ani": {"dropped": {filtered: 18}}})


def main():
    folder = pathlib.Path(os.environ.get("GPON_CAPTURES") or sys.argv[2])
    if not (folder / "omci-bringup.pcap").is_file():
        print(f"no captures in {folder}")
        sys.exit(SKIPPED)
    check = CaptureChecker(sys.argv[1], folder)
    check_omci(check)
    check_explain(check)
    check_traffic(check)
    check_page(check)
    check.exit()


if __name__ == "__main__":
    main()
