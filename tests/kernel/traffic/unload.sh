# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# The modules are loaded and unloaded while both directions carry as much TCP as the machine can,
# with frames in every queue; in the end the platform is unloaded too, under the same load.
# shellcheck source=tests/kernel/traffic/topology.sh
. /tests/traffic/topology.sh

rounds=${rounds:-5}

# NAMESPACE ADDRESS-OF-SERVER1 PORT: an endless stream up, and one down on the next port. Not on one
# connection: two ends that write and do not read meanwhile would wait for each other forever.
stream() {
    in_ns server1 sh -c "while :; do nc -l -p $3 </dev/null >/dev/null; done" &
    in_ns server1 sh -c "while :; do nc -l -p $(($3 + 1)) </dev/zero >/dev/null; done" &
    in_ns "$1" sh -c "while :; do nc -w 5 $2 $3 </dev/zero >/dev/null; sleep 0.1; done" &
    in_ns "$1" sh -c "while :; do nc -w 5 $2 $(($3 + 1)) </dev/null >/dev/null; sleep 0.1; done" &
}

take_engine_out() {
    case $onu in
    alone) echo "default off" >"$proc/hooks" ;;
    gpon_flow) rmmod gpon_flow ;;
    esac || fail "round $round: it does not go out"
}

put_engine_in() {
    case $onu in
    alone) echo "default on" >"$proc/hooks" ;;
    gpon_flow) load_gpon_flow && provision ;;
    esac || fail "round $round: it does not come in"
}

wait_for_traffic() {
    before=$(counter gem1025 rx_frames)
    for _ in $(seq 100); do
        [ "$(counter gem1025 rx_frames)" -lt $((before + 50)) ] || return 0
        sleep 0.2
    done
    grep -v ' 0$' "$proc/counters"
    for ns in client1 client2 server1; do
        echo "$ns:" && in_ns "$ns" netstat -tn && in_ns "$ns" ip neigh
    done
    fail "round $round: no traffic"
}

onu_up
plain_network
stream client1 10.0.0.1 5001
stream client2 10.0.0.1 5003
round=0
while [ "$round" -lt "$rounds" ]; do
    wait_for_traffic
    lost=$(counter ani0 tx_drop_no_gem_port)
    take_engine_out
    sleep 0.3
    put_engine_in
    round=$((round + 1))
done
wait_for_traffic
expect_at_least "frames lost without a mapping" 1 "$lost"
echo "@@ $rounds times under load, $(counter gem1025 rx_frames) frames up"
if [ "$onu" = gpon_flow ]; then
    unload_gpon_flow
fi
unload_softonu
for ns in client1 client2 server1; do
    for pid in $(ip netns pids $ns); do kill -9 "$pid"; done
done 2>/dev/null
ip link del br0
delete_namespaces
