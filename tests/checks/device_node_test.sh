# SPDX-License-Identifier: GPL-2.0-only
#
# The device node that an installed package creates: at the path that user space opens, for root
# only.
set -eu
. tests/checks/proof.sh
rule=packaging/debian/gpon-flow-dkms.tmpfiles
header=src/include/uapi/gpon_flow.h

if ! command -v systemd-tmpfiles >/dev/null || [ "$(id -u)" != 0 ]; then
    echo "left out: it takes systemd-tmpfiles, and root to make a device node"
    exit 77
fi

# RULE: says what node it makes, and whether that is the right one.
makes_the_node() {
    local node
    fresh_tree
    mkdir -p "$tree/dev"
    # Names in the rule are looked up in there.
    file etc/passwd <<<'root:x:0:0::/:'
    file etc/group <<<'root:x:0:'
    file rule.conf
    systemd-tmpfiles --create --root="$tree" "$tree/rule.conf" || return 1
    node=$(stat -c '%n %F %a %U:%G %Hr:%Lr' "$tree"/dev/*) || return 1
    echo "${node#"$tree"}"
    [ "${node#"$tree"}" = "/dev/$name character special file 600 root:root $major:0" ]
}

name=$(sed -n 's/^#define GPON_FLOW_DEVICE_NAME "\(.*\)"$/\1/p' "$header")
major=$(sed -n 's/^#define GPON_FLOW_MAJOR \([0-9]*\)$/\1/p' "$header")
passes "the rule of the package" makes_the_node <"$rule"
fails "a node for everybody" " 666 " makes_the_node < <(sed 's/ 0600 / 0666 /' "$rule")
fails "another number" " 185:0" makes_the_node < <(sed 's/ 184:0/ 185:0/' "$rule")
fails "another name" "/dev/gpon " makes_the_node < <(sed 's/gpon_flow/gpon/' "$rule")
exit "$proofs_failed"
