# SPDX-License-Identifier: GPL-2.0-only
#
# Converts records of bench.jq, one for each architecture, to a table in Markdown.

def plus: if . == null then "" else "+\(round)" end;

def cell($all; $added): "\($all | round) | \($added | plus)";

def row($name; f): "| \($name) | " + (map(f) | join(" | ")) + " |";

def flower($rules): cell(.flower[$rules]; .added.flower[$rules]);

def openvswitch($flows): cell(.openvswitch_flows[$flows]; .added.openvswitch_flows[$flows]);

# Each flow has two rules.
def turns($flows):
    (.[0].gpon_flow_rules[$flows] / ($flows | tonumber) * 50 | round) as $kept
    | row("gpon_flow, \($flows) flows in turns, \($kept) % of their rules kept";
          cell(.gpon_flow_mix[$flows]; .added.gpon_flow_mix[$flows]));

def ratio(over): "| \(.added.gpon_flow_quick / over * 100 | round / 100)";

"| case | " + (map("\(.arch) | added") | join(" | ")) + " |",
"|---|" + (map("--:|--:|") | join("")),
row("(a) bridge"; cell(.bridge; null)),
row("the same over veth devices"; cell(.veth_bridge; null)),
row("(b) bridge with VLAN filtering"; cell(.vlan_filtering; .added.vlan_filtering)),
row("(c) bridge with tc flower, 1 rule"; flower("1")),
row("(c) 64 rules"; flower("64")),
row("(c) 256 rules"; flower("256")),
row("(c) 768 rules"; flower("768")),
row("(d) Open vSwitch datapath, 8 flows"; openvswitch("8")),
row("(d) 768 flows"; openvswitch("768")),
row("bridge with hooks, the platform chooses the GEM port"; cell(.own_mapping; .added.own_mapping)),
row("(e) gpon_flow, quick path"; cell(.gpon_flow_quick; .added.gpon_flow_quick)),
row("(f) gpon_flow, a flow's first frame"; cell(.gpon_flow_first; .added.gpon_flow_first)),
turns("64"), turns("256"), turns("768"),
row("**added, (e) : (c) with 64 rules**"; ratio(.added.flower["64"])),
row("**added, (e) : (d)**"; ratio(.added.openvswitch))
