# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
# UNI 2: a VoIP phone on VLAN 300 and a set-top box on VLAN 400.

# The tool's built-in call with recorded speech, ended after less than half a second of speech.
write_call() {
    mkdir -p /run/call/pcap
    cp g711a.pcap /run/call/pcap/
    sipp -sd uac_pcap | sed -e '/dtmf_2833/d' -e 's/milliseconds="8000"/milliseconds="300"/' \
        -e 's/milliseconds="1000"/milliseconds="100"/' > /run/call/call.xml
}

play_voice() {
    lease home2 eth0.300 198.51.100.60
    in_ns home2 tc qdisc add dev eth0.300 clsact
    mark home2 eth0.300 dport 5060 0x68 2
    mark home2 eth0.300 dport 6000 0xb8 4
    resolve home2 192.0.2.97 sip.example.net A
    write_call
    (cd /run/call && in_ns home2 sipp -sf call.xml -i 192.0.2.103 -p 5060 -mi 192.0.2.103 \
        -mp 6000 -m 1 -timeout 20s -timeout_error -nostdin 198.51.100.60:5060) \
        > /run/call.log 2>&1 || {
        cat /run/call.log
        return 1
    }
    pings home2 198.51.100.60 0xb8
}

# watch GROUP PORT FRAMES [tool options]: the edge sends a stream to a group that the box joined
watch() {
    group=$1 port=$2 frames=$3
    shift 3
    in_ns home2 timeout 4 iperf -s -u -B "$group%eth0.400" -p "$port" -l 1316 "$@" \
        > "/run/watch-$port" 2>&1 &
    sleep 2
    in_ns edge timeout 10 iperf -c "$group%tv" -u -p "$port" -l 1316 \
        -n "$((frames * 1316))" -b 2m -T 4 -S 0x88 "$@" > /run/stream 2>&1 || {
        cat /run/stream
        return 1
    }
    wait $! || true
    cat /run/stream "/run/watch-$port"
    grep -q 'connected with' "/run/watch-$port"
}

play_television() {
    # Started late: queries would fill the recording of the other services.
    ip -n edge link set tv type bridge mcast_querier 1
    lease home2 eth0.400 198.51.100.61
    watch 233.252.0.1 5001 24
    in_ns home2 sh -c 'echo 2 > /proc/sys/net/ipv4/conf/eth0.400/force_igmp_version'
    watch 233.252.0.2 5002 16
    ipv6_ready home2 eth0.400
    watch ff05::db8:0:1 5003 12 -V
    sleep 4
}
