# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
# The network side: DHCP, DNS, router advertisements, PPPoE access, web, SIP.

# shellcheck disable=SC2154 # line.sh sets the first bytes of all addresses
access_dns_dhcp() {
    cat > /etc/dnsmasq.conf <<END
user=root
no-resolv
no-hosts
no-ping
dhcp-authoritative
dhcp-leasefile=/run/leases
bind-dynamic
except-interface=lo
domain=example.net
host-record=www.example.net,198.51.100.80,2001:db8:ffff::80
host-record=sip.example.net,198.51.100.60
enable-ra
dhcp-range=192.0.2.2,192.0.2.30,255.255.255.224,1h
dhcp-range=192.0.2.34,192.0.2.62,255.255.255.224,1h
dhcp-range=192.0.2.98,192.0.2.126,255.255.255.224,1h
dhcp-range=192.0.2.130,192.0.2.158,255.255.255.224,1h
dhcp-range=192.0.2.162,192.0.2.190,255.255.255.224,1h
dhcp-host=$mac:10,192.0.2.10
dhcp-host=$mac:11,192.0.2.40
dhcp-host=$mac:23,192.0.2.103
dhcp-host=$mac:24,192.0.2.140
dhcp-host=$mac:15,192.0.2.170
dhcp-range=2001:db8:0:1::,ra-only,64
dhcp-range=2001:db8:0:100::,ra-only,64
dhcp-range=2001:db8:0:400::,ra-only,64
dhcp-range=2001:db8:0:500::,ra-only,64
END
    in_ns edge dnsmasq -C /etc/dnsmasq.conf --pid-file=/run/pid/dnsmasq
}

access_pppoe() {
    mkdir -p /etc/ppp/plugins
    for plugin in /usr/lib/pppd/*/pppoe.so; do
        ln -s "$plugin" /etc/ppp/plugins/rp-pppoe.so
    done
    [ -c /dev/ppp ] || mknod /dev/ppp c 108 0
    : > /etc/ppp/options
    echo 'subscriber * example-pass *' > /etc/ppp/chap-secrets
    cat > /etc/ppp/pppoe-server-options <<END
auth
require-chap
name access
noipdefault
nodefaultroute
noccp
novj
+ipv6
ipv6 ::1,::2
nodetach
END
    in_ns edge pppoe-server -I eth0.200 -C access.example.net -S internet \
        -L 192.0.2.94 -R 192.0.2.65 -N 1
    # This server sends through a packet socket, which ignores the priority in the packet.
    in_ns edge tc qdisc add dev eth0.200 clsact
    in_ns edge tc filter add dev eth0.200 egress protocol ppp_ses u32 \
        match u8 0xb8 0xff at 9 action skbedit priority 4
}

# page LINES
page() {
    i=0
    while [ $i -lt "$1" ]; do
        echo "line $i of the page that the recorded clients fetch"
        i=$((i + 1))
    done
}

web() {
    page 60 > /www/index.html
    page 6 > /www/short
    in_ns net httpd -p 80 -h /www
    in_ns net httpd -p '[::]:8080' -h /www
}

# mark SPACE DEVICE KIND PORT TOS PRIORITY: DSCP and priority of UDP frames, KIND sport or dport
mark() {
    in_ns "$1" tc filter add dev "$2" egress protocol ip u32 match ip protocol 17 0xff \
        match ip "$3" "$4" 0xffff \
        action pedit munge ip tos set "$5" pipe action csum ip pipe action skbedit priority "$6"
}

# Phones mark signalling with DSCP 26 and voice with DSCP 46. The SIP program has no option for it, so
# the sending interface does it.
sip() {
    in_ns net tc qdisc add dev eth0 clsact
    mark net eth0 sport 5060 0x68 2
    mark net eth0 sport 6000 0xb8 4
    (cd /run && in_ns net sipp -sn uas -i 198.51.100.60 -p 5060 -mi 198.51.100.60 -mp 6000 \
        -rtp_echo -nostdin > /run/sip-server.log 2>&1) &
}

start_servers() {
    access_dns_dhcp
    access_pppoe
    web
    sip
}
