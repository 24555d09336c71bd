#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-only
"""Read, show and compare the instructions of a frame in a guest.

usage: guest-figures.py record ARCH KERNEL COMPILER <GUEST-OUTPUT
       guest-figures.py table RECORD...
       guest-figures.py update BASELINE RECORD...
       guest-figures.py check BASELINE RECORD...
       guest-figures.py counters RECORD-WITHOUT RECORD-WITH...

record reads the lines "@@ bench CASE FLOWS MEDIAN MEAN", each case once or several times, "@@
rules FLOWS COUNT" and "@@ calls FLOWS REMEMBERED REPLAYED WALKED" of a guest. table prints a
Markdown table with two columns for each architecture. update makes the records the baseline, and
check fails when gpon_flow adds over 3 % more to a frame than the baseline. counters prints a
Markdown table of what gpon_flow adds to a frame without counters and with them, and of the growth
relative to that and to the whole frame.
"""

import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(__file__), ".."))
from figures import as_json, load, rounded  # noqa: E402 (found in the folder above)
from guest_log import split_lines  # noqa: E402

MOST_PERCENT = 3
# The cases that the baseline guards.
GUARDED = ("gpon_flow_quick", "gpon_flow_first")


# ---- one record of a guest's lines

class Cases:
    """Median, mean and spread of each case and number of flows. Of a repeated case it takes the
    least median, in which the fewest entries of the kernel's hash tables collide, and the average
    of the means."""

    def __init__(self, lines):
        self.values = {}
        for case, flows, median, mean in sorted(lines, key=lambda line: line[:2]):
            self.values.setdefault((case, flows), []).append((float(median), float(mean)))

    def by_flows(self, case):
        return {flows: rounded(min(median for median, _ in values), 1)
                for (name, flows), values in self.values.items() if name == case}

    def means_by_flows(self, case):
        return {flows: rounded(sum(mean for _, mean in values) / len(values), 1)
                for (name, flows), values in self.values.items() if name == case}

    def only(self, case):
        return next(iter(self.by_flows(case).values()), None)

    def spread_percent(self):
        spreads = []
        for (case, _), values in self.values.items():
            # Frames of this case are not alike, so their median may jump.
            if case != "gpon_flow_mix":
                medians = [median for median, _ in values]
                spreads.append(max(medians) / min(medians) * 100 - 100)
        return rounded(max(spreads), 3)


def minus(figure, other):
    return None if figure is None or other is None else rounded(figure - other, 1)


def each_minus(figures, others):
    return {flows: minus(figure, others.get(flows)) for flows, figure in figures.items()}


def calls_by_path(counts):
    return dict(zip(("remembered", "replayed", "walked"), map(int, counts)))


def record_of(arch, kernel, compiler, lines):
    """A figure that was not measured is None; "added" is what it costs more than the bridge."""
    words = [(word, rest.split()) for word, rest in split_lines(lines)]
    cases = Cases([rest for word, rest in words if word == "bench"])
    bridge = cases.by_flows("bridge")
    measured = {
        "vlan_filtering": cases.only("vlan_filtering"),
        "flower": cases.by_flows("flower"),
        "openvswitch": cases.by_flows("openvswitch").get("8"),
        "openvswitch_flows": cases.by_flows("openvswitch"),
        "own_mapping": cases.only("own_mapping"),
        "gpon_flow_quick": cases.only("gpon_flow_quick"),
        "gpon_flow_first": cases.only("gpon_flow_first"),
        "gpon_flow_mix": cases.means_by_flows("gpon_flow_mix"),
    }
    added = {}
    for name, figure in measured.items():
        if not isinstance(figure, dict):
            added[name] = minus(figure, bridge.get("16" if name == "gpon_flow_first" else "8"))
        elif name == "gpon_flow_mix":
            added[name] = each_minus(figure, cases.means_by_flows("bridge"))
        else:
            added[name] = each_minus(figure, bridge)
    return {
        "arch": arch,
        "kernel": kernel,
        "compiler": compiler,
        "bridge": bridge.get("8"),
        "veth_bridge": cases.by_flows("veth_bridge").get("8"),
        **measured,
        "gpon_flow_rules": {rest[0]: int(rest[1]) for word, rest in words if word == "rules"},
        "gpon_flow_calls": {rest[0]: calls_by_path(rest[1:]) for word, rest in words
                            if word == "calls"},
        "bridge_flows": bridge,
        "added": added,
        "spread_percent": cases.spread_percent(),
    }


# ---- a table of records

class Table:
    def __init__(self, records):
        self.records = records

    def row(self, name, cells):
        return f"| {name} | " + " | ".join(cells(record) for record in self.records) + " |"

    def figure(self, name, *keys):
        """A row of what the keys lead to, and of what that adds."""
        return self.row(name, lambda record: cell(reach(record, keys),
                                                  reach(record["added"], keys)))

    def turns(self, flows):
        # Each flow has two rules.
        kept = rounded(reach(self.records[0], ("gpon_flow_rules", flows)) / int(flows) * 50)
        calls = reach(self.records[0], ("gpon_flow_calls", flows))
        remembered, replayed = (rounded(calls[path] / sum(calls.values()) * 100)
                                for path in ("remembered", "replayed"))
        return self.figure(f"gpon_flow, {flows} flows in turns, {kept} % of their rules kept, "
                           f"{remembered} % of the calls with a remembered outcome, "
                           f"{replayed} % replayed", "gpon_flow_mix", flows)

    def ratio(self, name, *keys):
        def of(record):
            quick = record["added"]["gpon_flow_quick"]
            return f"| {rounded(quick / reach(record['added'], keys), 2)}"
        return self.row(name, of)

    def lines(self):
        yield "| case | " + " | ".join(f"{one['arch']} | added" for one in self.records) + " |"
        yield "|---|" + "--:|--:|" * len(self.records)
        yield self.figure("(a) bridge", "bridge")
        yield self.figure("the same over veth devices", "veth_bridge")
        yield self.figure("(b) bridge with VLAN filtering", "vlan_filtering")
        yield self.figure("(c) bridge with tc flower, 1 rule", "flower", "1")
        for rules in ("64", "256", "768", "4096"):
            yield self.figure(f"(c) {rules} rules", "flower", rules)
        yield self.figure("(d) Open vSwitch datapath, 8 flows", "openvswitch_flows", "8")
        for flows in ("768", "4096"):
            yield self.figure(f"(d) {flows} flows", "openvswitch_flows", flows)
        yield self.figure("bridge with hooks, the platform chooses the GEM port", "own_mapping")
        yield self.figure("(e) gpon_flow, quick path", "gpon_flow_quick")
        yield self.figure("(f) gpon_flow, a flow's first frame", "gpon_flow_first")
        for flows in ("64", "256", "768", "4096"):
            yield self.turns(flows)
        yield self.ratio("**added, (e) : (c) with 64 rules**", "flower", "64")
        yield self.ratio("**added, (e) : (d)**", "openvswitch")


def reach(record, keys):
    for key in keys:
        record = None if record is None else record.get(key)
    return record


def cell(figure, added):
    text = "" if figure is None else rounded(figure)
    return f"{text} | " + ("" if added is None else f"+{rounded(added)}")


def growth(without, figure):
    return f"{(figure / without - 1) * 100:+.1f} %"


def counter_lines(records):
    pairs = list(zip(records[::2], records[1::2]))
    yield "| frame | " + " | ".join(
        f"{one['arch']}, without counters | with them | of what is added | of the whole frame"
        for one, _ in pairs) + " |"
    yield "|---|" + "--:|--:|--:|--:|" * len(pairs)
    for name, case in (("quick path", "gpon_flow_quick"),
                       ("first frame of a flow", "gpon_flow_first")):
        cells = []
        for without, counting in pairs:
            added = [one["added"][case] for one in (without, counting)]
            cells += [str(rounded(figure)) for figure in added]
            cells += [growth(*added), growth(without[case], counting[case])]
        yield f"| {name} | " + " | ".join(cells) + " |"


# ---- the baseline

def update(baseline, records):
    """Architectures that were not measured keep their figures."""
    old = load(baseline) if os.path.exists(baseline) else {}
    for record in records:
        old[record["arch"]] = {
            "kernel": record["kernel"],
            "compiler": record["compiler"],
            "added": {name: record["added"][name] for name in GUARDED},
        }
    with open(baseline + ".new", "w", encoding="utf-8") as file:
        file.write(as_json(old))
    os.replace(baseline + ".new", baseline)


def verdicts_of(old, record):
    """Yield a line for each guarded figure, and whether it fails the check."""
    arch = record["arch"]
    if old is None:
        # Without a baseline nothing is guarded.
        yield f"no baseline for {arch} MISSING", True
        return
    for name, before in old["added"].items():
        now = record["added"].get(name)
        if now is None:
            yield f"{arch} {name} MISSING", True
            continue
        change = now / before * 100 - 100
        slower = change > MOST_PERCENT
        yield (f"{arch} {name} {before} -> {now} instructions, {rounded(change, 1)} % "
               f"{'SLOWER' if slower else 'ok'}"), slower
    if (old["kernel"], old["compiler"]) != (record["kernel"], record["compiler"]):
        yield (f"note: the baseline is of Linux {old['kernel']} and g++ {old['compiler']}, "
               f"this is Linux {record['kernel']} and g++ {record['compiler']}"), False


def check(baseline, paths):
    if not os.path.exists(baseline):
        sys.exit(f"there is no baseline {baseline}, --update makes one")
    old = load(baseline)
    failed = False
    for record in map(load, paths):
        for line, fails in verdicts_of(old.get(record["arch"]), record):
            print(line)
            failed = failed or fails
    return 1 if failed else 0


def main(arguments):
    match arguments:
        case ["record", arch, kernel, compiler]:
            print(as_json(record_of(arch, kernel, compiler, sys.stdin)), end="")
        case ["table", *paths] if paths:
            print(*Table([load(path) for path in paths]).lines(), sep="\n")
        case ["counters", *paths] if paths and len(paths) % 2 == 0:
            print(*counter_lines([load(path) for path in paths]), sep="\n")
        case ["update", baseline, *paths] if paths:
            update(baseline, [load(path) for path in paths])
        case ["check", baseline, *paths] if paths:
            return check(baseline, paths)
        case _:
            sys.exit(__doc__)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
