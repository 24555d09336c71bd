# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Two subscribers connect: discovery by broadcast, CHAP, an address from the access concentrator,
# then packets of every size that fits into a session frame, and larger ones in fragments.
# shellcheck source=tests/kernel/traffic/topology.sh
. /tests/traffic/topology.sh

write_server_files() {
    mkdir -p /etc/ppp
    : >/etc/ppp/options
    echo 'subscriber * secret *' >/etc/ppp/chap-secrets
    cat >/etc/ppp/pppoe-server-options <<-END
	auth
	require-chap
	name access
	noccp
	novj
	nodefaultroute
	END
}

start_server() {
    write_server_files
    in_ns server1 /usr/sbin/pppoe-server -I gem1025 -C access -L 10.64.0.1 -R 10.64.0.10 -N 4 ||
        fail "the access concentrator does not start"
}

# NAMESPACE DEVICE
dial() {
    in_ns "$1" /usr/sbin/pppd plugin pppoe.so "nic-$2" user subscriber password secret noauth noipdefault \
        nodefaultroute noccp novj nodetach maxfail 3 ifname "ppp-$2" >"/tmp/pppd.$2" 2>&1 &
}

# NAMESPACE DEVICE
session_works() {
    for _ in $(seq 150); do
        ! in_ns "$1" ip -4 addr show dev "ppp-$2" 2>/dev/null | grep -q inet || break
        sleep 0.2
    done
    for size in 0 56 1000 1463 1464 1465 4000; do
        in_ns "$1" ping -c 1 -W 5 -s $size 10.64.0.1 >/dev/null || {
            cat "/tmp/pppd.$2"
            fail "$1: no answer to $size bytes in the session"
        }
    done
}

hang_up() {
    for ns in client1 client2 server1; do
        for pid in $(ip netns pids $ns); do kill "$pid" 2>/dev/null; done
    done
    for _ in $(seq 50); do
        [ -n "$(ip netns pids client1)$(ip netns pids client2)" ] || return 0
        sleep 0.1
    done
}

onu_up
modprobe pppoe
modprobe ppp_async
start_server
dial client1 sub1
dial client2 sub2
session_works client1 sub1
session_works client2 sub2
expect "frames dropped by the hook" 0 "$(counter ani0 rx_drop_hook)"
echo "@@ two sessions, $(counter gem1025 rx_frames) frames up"
hang_up
onu_down
