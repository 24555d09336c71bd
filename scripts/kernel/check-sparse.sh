#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: check-sparse.sh
#
# Runs sparse on the C sources of both modules, through the kernel's build: address spaces, locks and
# byte orders. Sparse does not support the C++ of the core.
set -eu
cd "$(dirname "$(readlink -f "$0")")/../.."
# shellcheck source=scripts/kernel/common.sh
. scripts/kernel/common.sh

arch=x86_64
folder=$(module_folder "$arch")-of-sparse
log=$folder/sparse.log

bash scripts/kernel/fetch.sh "$arch"
mkdir -p "$folder"
find "$folder" -type l -delete
find src softonu -type f | while read -r source; do
    mkdir -p "$folder/$(dirname "$source")"
    ln -s "$PWD/$source" "$folder/$source"
done
# Only the C objects, with their flags: without the core the module cannot be linked.
grep -E '^(CFLAGS_|gpon_group|ifn?eq|ifdef|else|endif)' Kbuild >"$folder/Kbuild"
cat >>"$folder/Kbuild" <<'END'
obj-m := gpon_softonu.o gpon_glue.o
gpon_softonu-y := $(patsubst $(src)/%.c,%.o,$(wildcard $(src)/softonu/*.c))
gpon_glue-y := $(patsubst $(src)/%.c,%.o,$(wildcard $(src)/src/platform/linux/*.c))
END
if ! make -C "$(kernel_headers "$arch")" M="$folder" -j "$GPON_JOBS" C=2 \
    CHECK="sparse -Wsparse-error" CROSS_COMPILE="$(cross_prefix "$arch")" \
    KBUILD_MODPOST_WARN=1 modules >"$log" 2>&1; then
    cat "$log"
    fail "sparse found something, or the glue does not compile"
fi
checked=$(grep -c '  CHECK ' "$log")
if [ "$checked" -lt 2 ] || grep -E '(warning|error): ' "$log" | grep -v '^WARNING: modpost'; then
    fail "sparse found something, or looked at $checked files only"
fi
echo "$checked files"
