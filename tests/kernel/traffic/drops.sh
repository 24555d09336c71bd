# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Each reason for which the platform drops a frame, provoked once: its counter goes up by one, no
# other one does, and the kernel's own statistics of the device agree.
# shellcheck source=tests/kernel/traffic/topology.sh
. /tests/traffic/topology.sh

# From subscriber 1 to an unknown station, so that the bridge floods the frame.
frame=0200000000990200000000110800$(printf '%032d' 0)
tagged=02000000009902000000001181000309$(printf '%032d' 0)

all_drops() {
    grep '_drop_' $proc/counters
}

# DEVICE rx|tx: the drops that "ip -s link" prints.
dropped() {
    ip -s link show dev "$1" |
        awk -v direction="$2:" 'toupper(direction) == $1 {getline; print $4; exit}'
}

# DEVICE COUNTER COMMAND...: the one frame that the command sends is dropped there for this reason.
drops() {
    device=$1
    counter=$2
    shift 2
    all_drops >/tmp/before
    statistics=$(dropped "$device" "${counter%%_*}")
    "$@" || fail "$counter of $device: '$*' fails"
    sleep 0.2
    all_drops >/tmp/after
    awk -v device="$device" -v name="$counter" \
        '$1 == device && $2 == name {$3 += 1} {print}' /tmp/before >/tmp/wanted
    cmp -s /tmp/wanted /tmp/after || fail "$counter of $device: $(diff /tmp/before /tmp/after)"
    expect "$counter of $device: ip -s link" $((statistics + 1)) \
        "$(dropped "$device" "${counter%%_*}")"
    seen=$((${seen:-0} + 1))
}

# The command prefix that runs a command in the namespace of a device.
side_of() {
    case $1 in
    sub1) echo ip netns exec client1 ;;
    gem1025) echo ip netns exec server1 ;;
    esac
}

# DEVICE: no program may send a frame without a whole Ethernet header, so a module does.
send_stub() {
    # shellcheck disable=SC2046 # words of a command, or none
    $(side_of "$1") insmod /modules/gpon_stub.ko device="$1" && rmmod gpon_stub
}

# FUNCTION ANSWER SENDER-WORDS...: with that kernel function failing once for the sender.
send_failing() {
    insmod /modules/gpon_fault.ko program=send_frame function="$1" result="$2" || return 1
    shift 2
    $(side_of "$1") send_frame "$@" || return 1
    fired=$(cat /sys/module/gpon_fault/parameters/fired)
    rmmod gpon_fault
    expect "failures for $1" 1 "$fired"
}

# DEVICE DIRECTION SENDING-DEVICE
spoilt_frames() {
    drops "$1" "$2_drop_short" send_stub "$3"
    drops "$1" "$2_drop_no_memory" send_failing pskb_expand_head -12 "$3" "$frame" watched
}

unprovisioned_frames() {
    obey - <<-END
	me delete MAC_BRIDGE_PORT_CON_DATA 1
	me delete MAC_BRIDGE_PORT_CON_DATA 11
	END
    drops uni1 rx_drop_hook in_ns client1 send_frame sub1 "$frame"
    drops ani0 rx_drop_hook in_ns server1 send_frame gem1025 "$frame"
    echo clean >/tmp/clean.scn
    obey /tmp/clean.scn
    provision
}

# A UNI whose cable ends in a device that is down has no carrier: the stack stops its frames itself.
# The fibre is there always.
frames_for_a_device_that_is_down() {
    ip link set ani0 down
    drops ani0 rx_drop_down in_ns server1 send_frame gem1025 "$frame"
    ip link set ani0 up
    in_ns server1 ip link set gem1025 down
    drops ani0 tx_drop_far_side_down send_frame ani0 "$frame"
    in_ns server1 ip link set gem1025 up
}

# With the engine off the platform's own table chooses.
frames_without_a_way_up() {
    printf 'clear\nadd gem=1099\n' >$proc/mapping
    echo "engine off" >$proc/hooks
    drops ani0 tx_drop_no_gem_port send_frame ani0 "$frame"
    printf 'clear\nadd gem=4000\n' >$proc/mapping
    drops ani0 tx_drop_gem_downstream_only send_frame ani0 "$frame"
    printf 'clear\n' >$proc/mapping
    drops ani0 tx_drop_hook send_frame ani0 "$frame"
    echo "engine on" >$proc/hooks
}

# With room for one frame in a processor's backlog, the second that the bridge floods is lost.
flooded_frames() {
    # shellcheck disable=SC2046 # two numbers
    set -- $(counter gem1025 rx_drop_backlog) $(counter sub2 rx_drop_backlog) \
        $(in_ns server1 cat /sys/class/net/gem1025/statistics/rx_dropped) \
        $(in_ns client2 cat /sys/class/net/sub2/statistics/rx_dropped)
    sysctl -qw net.core.netdev_max_backlog=0
    in_ns client1 send_frame sub1 "$frame" || fail "no frame to flood"
    sleep 0.2
    sysctl -qw net.core.netdev_max_backlog=1000
    lost=$(($(counter gem1025 rx_drop_backlog) + $(counter sub2 rx_drop_backlog) - $1 - $2))
    expect "frames lost in the backlog" 1 $lost
    for device in gem1025:server1:$1:$3 sub2:client2:$2:$4; do
        # shellcheck disable=SC2046 # four words
        set -- $(echo "$device" | tr : ' ')
        expect "$1: statistics of the backlog" $(($(counter "$1" rx_drop_backlog) - $3 + $4)) \
            "$(in_ns "$2" cat "/sys/class/net/$1/statistics/rx_dropped")"
    done
    seen=$((seen + 1))
}

[ "$onu" = gpon_flow ] || exit 0
onu_up
spoilt_frames uni1 rx sub1
spoilt_frames uni1 tx uni1
spoilt_frames ani0 rx gem1025
spoilt_frames ani0 tx ani0
# VLAN 777 is nobody's.
drops ani0 tx_drop_hook send_frame ani0 "$tagged"
# Downstream on a UNI the engine lets everything through, unless it fails itself.
drops uni1 tx_drop_hook send_failing gpon_pkt_general_flow_func -1 uni1 "$frame"
unprovisioned_frames
frames_for_a_device_that_is_down
frames_without_a_way_up
flooded_frames
for device in uni1 ani0; do
    expect "$device by ethtool" "$(grep "^$device " $proc/counters)" \
        "$(ethtool -S $device | sed -n "s/^ *\(.*\): \(.*\)/$device \1 \2/p")"
done
echo "@@ $seen drops, each counted where and why it happened"
onu_down
