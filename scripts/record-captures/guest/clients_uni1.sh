# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
# The home gateway on UNI 1: plain and VLAN internet, PPPoE, a stacked business service.

edge_link_local=fe80::200:5eff:fe00:5301

# lease SPACE DEVICE SERVER [client options]
lease() {
    space=$1 device=$2 reach=$3
    shift 3
    ip -n "$space" link set "$device" up
    reach=$reach in_ns "$space" udhcpc -f -q -n -t 5 -T 1 -i "$device" -s ./udhcpc.script \
        -x "hostname:$space" "$@"
}

pings() {
    in_ns "$1" ping -n -q -c 2 -i 0.2 -W 2 -Q "$3" "$2" > /dev/null
}

# resolve SPACE SERVER NAME TYPE [client options, -t for TCP]
resolve() {
    space=$1 server=$2 name=$3 type=$4
    shift 4
    in_ns "$space" drill "$@" "$name" "@$server" "$type" > /run/answer
    grep -q "rcode: NOERROR" /run/answer
}

fetch() {
    in_ns "$1" timeout 10 wget -q -O /run/page "$2"
    cmp /run/page /www/index.html
}

# fetch_by SPACE ADDRESS,OPTION...: the address and options are the connecting tool's
fetch_by() {
    printf 'GET /short HTTP/1.0\r\n\r\n' | in_ns "$1" socat -t 3 - "$2" > /run/page
    grep -q '200 OK' /run/page
}

# fetch_marked SPACE SERVER TOS
fetch_marked() {
    fetch_by "$1" "TCP4:$2:80,tos=$3"
}

# ipv6_ready SPACE DEVICE: an address from the router's advertisement, verified as unique
ipv6_ready() {
    tries=0
    until ip -n "$1" -6 address show dev "$2" scope global -tentative | grep -q 2001:db8; do
        tries=$((tries + 1))
        [ $tries -lt 50 ] || return 1
        sleep 0.2
    done
}

ipv6_service() {
    ipv6_ready "$1" "$2"
    ip -n "$1" -6 route replace "$3/128" via "$edge_link_local" dev "$2"
    pings "$1" "$3" 0
    pings "$1" "$3" 0xb8
    fetch "$1" "http://[$3]:8080/"
    # An IPv6 traffic class, unlike a TOS, leaves the socket's priority alone.
    fetch_by "$1" "TCP6:[$3]:8080,ipv6-tclass=0xb8,priority=4"
}

ipv4_service() {
    resolve "$1" "$2" www.example.net A
    resolve "$1" "$2" www.example.net AAAA
    for tos in 0 0x28 0x88 0xb8; do
        pings "$1" "$3" "$tos"
    done
    fetch "$1" "http://$3/"
}

play_untagged() {
    lease home1 eth0 198.51.100.82
    ipv4_service home1 192.0.2.1 198.51.100.82
    fetch_marked home1 198.51.100.82 0xb8
    fetch_marked home1 198.51.100.82 0x28
    ipv6_service home1 eth0 2001:db8:ffff::82
}

play_internet() {
    lease home1 eth0.100 198.51.100.80 -B
    ipv4_service home1 192.0.2.33 198.51.100.80
    resolve home1 192.0.2.33 www.example.net A -t
    pings home1 198.51.100.80 0x10
    for tos in 0x28 0x10 0xb8; do
        fetch_marked home1 198.51.100.80 "$tos"
    done
    ipv6_service home1 eth0.100 2001:db8:ffff::80
}

play_pppoe() {
    ip -n home1 link set eth0.200 up
    in_ns home1 pppd plugin rp-pppoe.so rp_pppoe_ac access.example.net eth0.200 \
        user subscriber noauth noipdefault nodefaultroute noccp novj +ipv6 ipv6 ::2,::1 \
        lcp-echo-interval 2 updetach linkname line > /run/pppd.log 2>&1 || {
        cat /run/pppd.log
        return 1
    }
    ip -n home1 route add 198.51.100.81 dev ppp0
    pings home1 198.51.100.81 0
    pings home1 198.51.100.81 0xb8
    in_ns home1 ping -6 -n -q -c 2 -i 0.2 -W 2 fe80::1%ppp0 > /dev/null
    fetch home1 http://198.51.100.81/
    fetch_marked home1 198.51.100.81 0xb8
    sleep 2
    kill "$(head -1 /run/ppp-line.pid)"
    sleep 1
}

play_business() {
    ip -n home1 link set eth0.500 up
    lease home1 eth0.500.10 198.51.100.83
    ipv4_service home1 192.0.2.161 198.51.100.83
    fetch_marked home1 198.51.100.83 0xb8
    ipv6_service home1 eth0.500.10 2001:db8:ffff::83
}
