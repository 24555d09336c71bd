# SPDX-License-Identifier: GPL-2.0-only
#
# Converts ratios of this machine and instructions of a guest to lines NAME RATIO TARGET
# met|missed. A ratio without its second figure is "skipped".

def two: . * 100 | round / 100;

.[0] as $host | .[1].added as $added
| (if $added == null then {} else {
    "frame-vs-flower": ($added.gpon_flow_quick / $added.flower["64"]),
    "frame-vs-ovs": ($added.gpon_flow_quick / $added.openvswitch)} end) as $frames
| ($host.ratios + $frames) as $ratio
| ([["lookup-vs-rte_hash", 1.0], ["lookup-768-vs-48", 1.2], ["learn-vs-rte_hash", 1.5],
    ["frame-vs-flower", 1.0], ["frame-vs-ovs", 1.0], ["walk-vs-quick", 12],
    ["walk-exponent", 1.1], ["rule-bytes", 160]][]
   | .[0] as $name | .[1] as $target | $ratio[$name]
   | [$name, (if . == null then "-" else two end), $target,
      (if . == null then "skipped" elif . <= $target then "met" else "missed" end)]),
  (["flood-frame-ns", "flood/new_source_per_frame"], ["flood-longest-lock-hold-ns", "longest lock hold"],
   ["rule-dump-768-ns", "rule/dump/768_rules"]
   | [.[0], ($host.nanoseconds[.[1]] | round), "-", "measured"]),
  ($host.rules_kept | to_entries[] | ["rules-kept-of-\(.key)-flows", .value, "-", "measured"])
| @tsv
