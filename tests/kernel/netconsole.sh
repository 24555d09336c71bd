# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# A netconsole over a port of the soft ONU, or over a bridge with such a port, is refused: it would send
# the messages that gpon_flow prints under the lock of its rule table through the same lock.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

config=/sys/kernel/config
target=$config/netconsole/probe

# DEVICE: whether a netconsole can send on it.
netconsole_starts() {
    local status=0
    mkdir $target
    echo "$1" >$target/dev_name
    echo 192.0.2.1 >$target/local_ip
    echo 192.0.2.2 >$target/remote_ip
    echo 1 >$target/enabled || status=1
    [ $status != 0 ] || echo 0 >$target/enabled
    rmdir $target
    return $status
}

# A device on which a netconsole works. Newer kernels refuse veth.
free_device() {
    ip link add free0 type veth peer name free1
    ip link set free0 up
    ip link set free1 up
    netconsole_starts free0 && return
    ip link del free0
    ip link add free0 type dummy
    ip link set free0 up
    netconsole_starts free0
}

modprobe -a veth dummy bridge netconsole 2>/dev/null
grep -q " $config configfs " /proc/mounts || mount -t configfs none $config || fail "the kernel has no configfs"
[ -d $config/netconsole ] || fail "the kernel has no netconsole"
load_both
echo "set enable 1" >/proc/gpon_flow/debug
free_device || fail "this kernel's netconsole works on no device"
for port in uni1 uni2 sub1 ani0 gem1025; do
    ip link set $port up
    netconsole_starts $port && fail "netconsole starts on $port"
done
ip link add onu type bridge
ip link set free0 master onu
ip link set onu up
netconsole_starts onu || fail "this kernel's netconsole works on no bridge"
ip link set uni1 master onu
netconsole_starts onu && fail "netconsole starts on a bridge with a port of the soft ONU"
ip link del onu
ip link del free0
unload_both
