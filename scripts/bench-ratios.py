#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-only
"""Print the ratios of a measurement against their targets.

usage: bench-ratios.py RATIOS.json [GUEST.json...]

RATIOS.json holds the ratios of this machine, GUEST.json the instructions of a frame in a kernel of
one architecture. Prints tab-separated lines NAME RATIO TARGET met|missed; a ratio without target is
"measured". A ratio that lacks one of its sides is "skipped", one that cannot be right is "void".
"""

import sys

from figures import load, rounded

TARGETS = {
    "lookup-768-vs-48": 1.2,
    "learn-vs-rte_hash": 1.5,
    "known-flow-lookup-vs-rte_hash": 0.7,
    "frame-vs-flower": 0.6,
    "frame-vs-ovs": 0.5,
    "frame-vs-flower-x86_64": 0.6,
    "frame-vs-ovs-x86_64": 0.5,
    "walk-first-frame": 0.7,
    "walk-vs-quick": 12,
    "walk-exponent": 1.1,
    "rule-bytes": 160,
}

AT_LEAST = {"known-frame-two-threads": 1.9}

# Known frames do not use this look-up.
WITHOUT_TARGET = ["lookup-vs-rte_hash"]

# Beside new source addresses: the cost of a known frame, the share of those without an outcome.
UNDER_FLOOD = ["known-frame-under-flood", "known-frame-under-flood-missed"]

# Instructions that a first frame added on arm64 before outcomes were remembered.
FIRST_FRAME_BEFORE = 25079

MEASURED = {
    "flood-frame-ns": "flood/new_source_per_frame",
    "flood-longest-lock-hold-ns": "longest lock hold",
    "rule-dump-768-ns": "rule/dump/768_rules",
}


def frame_ratios(guest):
    added = guest["added"]
    arch = "" if guest["arch"] == "arm64" else "-" + guest["arch"]
    ratios = {f"frame-vs-flower{arch}": added["gpon_flow_quick"] / added["flower"]["64"],
              f"frame-vs-ovs{arch}": added["gpon_flow_quick"] / added["openvswitch"]}
    if not arch:
        ratios["walk-first-frame"] = added["gpon_flow_first"] / FIRST_FRAME_BEFORE
    return ratios


def lines_of(host, guests):
    ratios = dict(host["ratios"])
    for guest in guests:
        ratios.update(frame_ratios(guest))
    for name, target in (TARGETS | AT_LEAST).items():
        ratio = ratios.get(name)
        if ratio is None:
            yield name, "-", target, "void" if name in ratios else "skipped"
        else:
            met = ratio >= target if name in AT_LEAST else ratio <= target
            yield name, rounded(ratio, 2), target, "met" if met else "missed"
    for name in WITHOUT_TARGET + UNDER_FLOOD:
        yield name, rounded(ratios[name], 2), "-", "measured"
    for name, case in MEASURED.items():
        yield name, rounded(host["nanoseconds"][case]), "-", "measured"
    for flows, kept in host["rules_kept"].items():
        yield f"rules-kept-of-{flows}-flows", rounded(kept), "-", "measured"
    for number, kept in host["outcomes_kept"].items():
        yield f"outcomes-kept-of-{number}", rounded(kept), "-", "measured"


def main(host, *guests):
    for line in lines_of(load(host), [load(guest) for guest in guests]):
        print(*line, sep="\t")


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit("usage: bench-ratios.py RATIOS.json [GUEST.json...]")
    main(*sys.argv[1:])
