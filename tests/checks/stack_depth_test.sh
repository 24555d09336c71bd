# SPDX-License-Identifier: GPL-2.0-only
set -eu
. tests/checks/proof.sh
check=scripts/kernel/stack-depth.py

# call FROM TO PLACE: an edge of the graph. The call of gcc's -pg has no place in the source.
call() {
    printf 'edge: { sourcename: "%s" targetname: "%s"%s }\n' "$1" "$2" "${3:+ label: \"$3\"}"
}

# node NAME BYTES
node() {
    printf 'node: { title: "%s" label: "%s\\na.cpp:1:1\\n%d bytes (static)" }\n' "$1" "$1" "$2"
}

entry=gpon_flow_api_dispatch
walk=gpon_pkt_general_forward

# The entry calls the walk, which calls itself. A rule table is traced, and calls nothing.
graph() {
    echo 'graph: { title: "a.cpp"'
    node $entry 100
    node $walk 50
    node gpon_hash_look_up 30
    call $entry $walk a.cpp:2:1
    call $entry gpon_hash_look_up a.cpp:3:1
    call $walk $walk a.cpp:4:1
}

fresh_tree
graph | file a.ci
passes "a graph" python3 $check 600 "$tree/a.ci"
fails "ten walks need more" "600 bytes of stack are more than 599" python3 $check 599 "$tree/a.ci"
{ graph && call gpon_hash_look_up __indirect_call; } | file a.ci
passes "a function that is traced" python3 $check 600 "$tree/a.ci"
{ graph && call gpon_hash_look_up __indirect_call a.cpp:5:1; } | file a.ci
fails "a call through a pointer to nothing" "call through a pointer in gpon_hash_look_up" \
    python3 $check 600 "$tree/a.ci"
{ graph && call gpon_hash_look_up gpon_hash_look_up a.cpp:5:1; } | file a.ci
fails "another recursion" "recursion through gpon_hash_look_up" python3 $check 600 "$tree/a.ci"

exit "$proofs_failed"
