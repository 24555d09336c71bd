#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: in-suite.sh SUITE COMMAND...
#
# Runs a command in the root file system of a Debian suite, in the root of the tree. The tree and the
# folder for kernels have the same paths there. Needs root or user namespaces.
set -eu
cd "$(dirname "$(readlink -f "$0")")/../.."
# shellcheck source=scripts/kernel/common.sh
. scripts/kernel/common.sh

[ $# -ge 2 ] || fail "a suite and a command are needed"
suite_root=$(suite_root "$1")
shift
[ -d "$suite_root" ] || fail "there is no $suite_root"
rights=()
[ "$(id -u)" = 0 ] || rights=(--map-root-user)
export GPON_SUITE_ROOT=$suite_root GPON_KERNEL_DIR
export GPON_TREE=$PWD

# shellcheck disable=SC2016 # the shell inside has these variables
exec unshare "${rights[@]}" --mount sh -euc '
    mkdir -p "$GPON_SUITE_ROOT/tmp"
    mount -t tmpfs none "$GPON_SUITE_ROOT/tmp"
    for folder in /dev /proc "$GPON_TREE" "$GPON_KERNEL_DIR"; do
        mkdir -p "$GPON_SUITE_ROOT$folder"
        mount --rbind "$folder" "$GPON_SUITE_ROOT$folder"
    done
    exec chroot "$GPON_SUITE_ROOT" sh -c "cd \"\$GPON_TREE\" && exec \"\$@\"" sh "$@"' sh "$@"
