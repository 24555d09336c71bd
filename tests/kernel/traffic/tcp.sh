# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# TCP in both directions, both subscribers at once: the received data equals the sent data.
# shellcheck source=tests/kernel/traffic/topology.sh
. /tests/traffic/topology.sh

megabytes=${megabytes:-4}

make_files() {
    mkdir -p /tmp/www
    dd if=/dev/urandom of=/tmp/www/down bs=1M count="$megabytes" 2>/dev/null
    dd if=/dev/urandom of=/tmp/up bs=1M count="$megabytes" 2>/dev/null
}

# FILE FILE
expect_same() {
    expect "checksum of $2" "$(sha256sum <"$1")" "$(sha256sum <"$2")"
}

# busybox's wget looks port names up, which a static program cannot do.
download() {
    printf 'GET /down HTTP/1.0\r\n\r\n' |
        in_ns "$1" nc -w 30 10.0.0.1 80 >"/tmp/response.$1" || fail "$1 cannot download"
    head -n 1 "/tmp/response.$1" | grep -q ' 200 ' || fail "$1: $(head -n 1 "/tmp/response.$1")"
    tail -c $((megabytes << 20)) "/tmp/response.$1" >"/tmp/down.$1"
    expect_same /tmp/www/down "/tmp/down.$1"
}

receiver_listens() {
    in_ns server1 netstat -ltn | grep -q :5000
}

# The receiver's own input stays open and silent: its end would end the connection.
upload() {
    mkfifo /tmp/silence
    exec 3<>/tmp/silence
    in_ns server1 nc -l -p 5000 <&3 >/tmp/up.received &
    receiver=$!
    soon receiver_listens || fail "the receiver does not listen"
    in_ns client1 nc -w 30 10.0.0.1 5000 </tmp/up || fail "client1 cannot upload"
    wait $receiver
    expect_same /tmp/up /tmp/up.received
}

onu_up
plain_network
make_files
in_ns server1 httpd -p 80 -h /tmp/www
download client1 &
one=$!
download client2 &
two=$!
wait $one || exit 1
wait $two || exit 1
upload
echo "@@ $megabytes MiB three times, backlog drops: $(counter ani0 rx_drop_backlog)"
for pid in $(ip netns pids server1); do kill "$pid"; done
onu_down
