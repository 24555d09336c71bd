# SPDX-License-Identifier: GPL-2.0-only
# [ARCH...] [TEST...] [NAME=VALUE...] boot real kernels (arm64, x86_64), test the modules there
set -eu
. scripts/log.sh
. scripts/packages.sh
. scripts/kernel/common.sh

archs=()
tests=()
variables=()
for word in "$@"; do
    case $word in
    arm64 | x86_64) archs+=("$word") ;;
    [a-z]*=*) variables+=("$word") ;;
    *)
        [ -f "tests/kernel/$word.sh" ] || {
            echo "run test-kernel: '$word' is no architecture, nor is there tests/kernel/$word.sh" >&2
            exit 2
        }
        tests+=("$word")
        ;;
    esac
done
[ ${#archs[@]} -gt 0 ] || archs=(arm64 x86_64)
if [ ${#tests[@]} = 0 ]; then
    mapfile -t tests < <(find tests/kernel -name '*.sh' -printf '%P\n' | sed 's/\.sh$//' | sort)
fi

# The guest says "@@ begin NAME" and "@@ end NAME STATUS SECONDS" for each test and "@@ done"; a
# test without an end, or an end with a status, is a failure. Notes and what a failed test printed
# are shown.
report() {
    local log=$1 arch=$2 wanted failed=0
    tr -d '\r' <"$log" | awk -v arch="$arch" '
        $1 == "@@" && $2 == "begin" { kept = notes = "" ; next }
        $1 == "@@" && $2 == "note" { sub(/^@@ note /, "") ; notes = notes "    " $0 "\n" ; next }
        $1 == "@@" && $2 == "end" {
            passed = $4 == "0"
            printf "  %-7s %-32s %s %4d s\n%s", arch, $3, passed ? "ok    " : "FAILED", $5, \
                passed ? notes : kept notes
            kept = ""
            next
        }
        $1 == "@@" && $2 == "done" { exit }
        { kept = kept $0 "\n" }
        END { printf "%s", kept }'
    for wanted in "${tests[@]}"; do
        tr -d '\r' <"$log" | grep -q "^@@ end $wanted 0 " || failed=1
    done
    grep -q '^@@ done' "$log" || {
        echo "  $arch: the guest did not end in order, its whole output is in $log"
        failed=1
    }
    if grep -q '^@@ the kernel complained' "$log"; then
        failed=1
    fi
    return "$failed"
}

boot_tests() {
    local arch=$1 log=$GPON_BUILD_DIR/logs/guest-$1.log
    GPON_GUEST_SECONDS=${GPON_GUEST_SECONDS:-900} bash scripts/kernel/boot.sh "$arch" \
        "$GPON_KERNEL_DIR/$arch/initramfs.gz" "tests=$(IFS=,; echo "${tests[*]}")" \
        "${variables[@]}" >"$log" 2>&1 || true
    report "$log" "$arch"
}

prepare() {
    local programs=$GPON_KERNEL_DIR/$1/programs tool=$GPON_KERNEL_DIR/$1/tool
    step "fetch-$1" bash scripts/kernel/fetch.sh "$1" &&
        step "modules-$1" bash scripts/kernel/build.sh "$1" &&
        step "programs-$1" bash scripts/kernel/programs.sh "$1" "$programs" &&
        step "tool-$1" bash scripts/kernel/tool.sh "$1" "$tool" &&
        step "initramfs-$1" bash scripts/kernel/initramfs.sh "$1" \
            "$GPON_KERNEL_DIR/$1/initramfs.gz" "$programs"/* "$tool/bin/gponflow"
}

need kernel cross build
mkdir -p "$GPON_BUILD_DIR/logs"
failed=()
for arch in "${archs[@]}"; do
    { prepare "$arch" && boot_tests "$arch"; } || failed+=("$arch")
done
if [ ${#failed[@]} != 0 ]; then
    echo "FAILED after $SECONDS s: ${failed[*]}"
    exit 1
fi
echo "all passed in $SECONDS s: ${archs[*]}"
