# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# A DHCP server behind the GEM port gives each subscriber an address of its own, and the addresses
# work.
# shellcheck source=tests/kernel/traffic/topology.sh
. /tests/traffic/topology.sh

start_server() {
    in_ns server1 ip addr add 10.0.0.1/24 dev gem1025
    : >/tmp/leases
    cat >/tmp/udhcpd.conf <<-END
	start 10.0.0.100
	end 10.0.0.120
	interface gem1025
	lease_file /tmp/leases
	pidfile /tmp/udhcpd.pid
	option subnet 255.255.255.0
	option router 10.0.0.1
	option lease 600
	END
    in_ns server1 udhcpd /tmp/udhcpd.conf || fail "the server does not start"
}

# The script that udhcpc runs at each event.
write_lease_script() {
    cat >/tmp/lease.sh <<-'END'
	#!/bin/sh
	if [ "$1" = bound ]; then
	    ip addr add "$ip/24" dev "$interface"
	    echo "$ip $router" >"/tmp/lease.$interface"
	fi
	END
    chmod 0755 /tmp/lease.sh
}

# NAMESPACE DEVICE
get_lease() {
    in_ns "$1" udhcpc -q -n -t 5 -T 2 -i "$2" -s /tmp/lease.sh || fail "$1 gets no lease"
    expect "router of $1" 10.0.0.1 "$(cut -d' ' -f2 "/tmp/lease.$2")"
    in_ns "$1" ping -c 1 -W 5 10.0.0.1 >/dev/null || fail "the address of $1 does not work"
}

onu_up
write_lease_script
start_server
get_lease client1 sub1
get_lease client2 sub2
first=$(cut -d' ' -f1 /tmp/lease.sub1)
second=$(cut -d' ' -f1 /tmp/lease.sub2)
[ "$first" != "$second" ] || fail "both subscribers got $first"
echo "@@ leases $first and $second"
kill "$(cat /tmp/udhcpd.pid)"
onu_down
