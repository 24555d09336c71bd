# SPDX-License-Identifier: GPL-2.0-only
#
# Converts lines "bench CASE FLOWS MEDIAN MEAN", each case once or several times, and "rules FLOWS
# COUNT" to one record. A case with different frames uses the mean. "added" is the difference from the
# plain bridge over the same devices with the same number of flows. A missing figure is null.

def rounded: . * 10 | round / 10;

def by_flows(name; field):
    map(select(.case == name) | {key: .flows, value: .[field]}) | from_entries;

def by_flows(name): by_flows(name; "median");

def only(name): map(select(.case == name))[0].median;

def minus($other): if . == null then null else . - $other | rounded end;

def each_minus($other): with_entries(.key as $flows | .value |= minus($other[$flows]));

def spread: max / min * 100 - 100;

[inputs | split(" ")] as $lines
| ($lines | map(select(.[0] == "rules") | {key: .[1], value: (.[2] | tonumber)}) | from_entries)
    as $rules
| [$lines[] | select(.[0] == "bench") | .[1:]
    | {case: .[0], flows: .[1], median: (.[2] | tonumber), mean: (.[3] | tonumber)}]
| group_by([.case, .flows])
| map(.[0] + {median: (map(.median) | add / length | rounded),
              mean: (map(.mean) | add / length | rounded),
              spread: (map(.median) | spread)})
| by_flows("bridge") as $bridge
| by_flows("bridge"; "mean") as $bridge_means
| {
    arch: $arch,
    kernel: $kernel,
    compiler: $compiler,
    bridge: $bridge["8"],
    veth_bridge: by_flows("veth_bridge")["8"],
    vlan_filtering: only("vlan_filtering"),
    flower: by_flows("flower"),
    openvswitch: by_flows("openvswitch")["8"],
    openvswitch_flows: by_flows("openvswitch"),
    own_mapping: only("own_mapping"),
    gpon_flow_quick: only("gpon_flow_quick"),
    gpon_flow_first: only("gpon_flow_first"),
    gpon_flow_mix: by_flows("gpon_flow_mix"; "mean"),
    gpon_flow_rules: $rules,
    bridge_flows: $bridge,
    added: {
        vlan_filtering: (only("vlan_filtering") | minus($bridge["8"])),
        flower: (by_flows("flower") | each_minus($bridge)),
        openvswitch: (by_flows("openvswitch")["8"] | minus($bridge["8"])),
        openvswitch_flows: (by_flows("openvswitch") | each_minus($bridge)),
        own_mapping: (only("own_mapping") | minus($bridge["8"])),
        gpon_flow_quick: (only("gpon_flow_quick") | minus($bridge["8"])),
        gpon_flow_first: (only("gpon_flow_first") | minus($bridge["16"])),
        gpon_flow_mix: (by_flows("gpon_flow_mix"; "mean") | each_minus($bridge_means))
    },
    spread_percent: (map(select(.case != "gpon_flow_mix").spread) | max * 1000 | round / 1000)
  }
