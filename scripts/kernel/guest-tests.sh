# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=bash
#
# Runs guest tests and prints the result of each. Sourced in the root of the tree, after log.sh and
# common.sh. A test is a file tests/kernel/NAME.sh. Tests in time/ wait for minutes: they run in a
# separate boot in which idle time passes at once. Tests in panic/ stop the kernel: each has its own
# boot. Tests in debug/ are for debug kernels (debug-tests.sh).

# Further words for the kernel command line; the guest's init gets them as variables.
guest_words=()

# Memory is not cleared, so that a read beyond the end of a packet does not find zeros. The allocator
# overwrites freed blocks and checks them and the bytes around them.
dirty_memory=(init_on_alloc=0 slub_debug=FZP)

all_guest_tests() {
    find tests/kernel -name '*.sh' -not -path '*/bench/*' -not -path '*/debug/*' \
        -not -path '*/panic/*' -printf '%P\n' |
        sed 's/\.sh$//' | sort
}

all_panic_tests() {
    find tests/kernel -path '*/panic/*.sh' -printf '%P\n' | sed 's/\.sh$//' | sort
}

# ARCH: builds all parts of a guest.
prepare_guest() {
    local programs=$GPON_KERNEL_DIR/$1/programs tool=$GPON_KERNEL_DIR/$1/tool
    step "fetch-$1" bash scripts/kernel/fetch.sh "$1" &&
        step "modules-$1" bash scripts/kernel/build.sh "$1" &&
        step "programs-$1" bash scripts/kernel/programs.sh "$1" "$programs" &&
        step "tool-$1" bash scripts/kernel/tool.sh "$1" "$tool" &&
        step "initramfs-$1" bash scripts/kernel/initramfs.sh "$1" \
            "$GPON_KERNEL_DIR/$1/initramfs.gz" "$programs"/* "$tool/bin/gponflow"
}

# LOG ARCH: prints a line for each test, with its notes if it passed, otherwise with its output.
show_guest_log() {
    tr -d '\r' <"$1" | awk -v arch="$2" '
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
}

# LOG TEST...: whether each test started and passed, and the guest powered off.
guest_log_is_good() {
    local log=$1 wanted good=0
    shift
    for wanted in "$@" ; do
        tr -d '\r' <"$log" | grep -q "^@@ end $wanted 0 " || good=1
    done
    if grep -q '^@@ the kernel complained' "$log"; then
        good=1
    fi
    if ! grep -q '^@@ done' "$log"; then
        echo "  the guest did not end in order, its whole output is in $log"
        good=1
    fi
    return "$good"
}

# ARCH CLOCK TEST...: one boot.
boot_guest_tests() {
    local arch=$1 clock=$2 log=$GPON_BUILD_DIR/logs/guest-$1-$2.log
    shift 2
    mkdir -p "${log%/*}"
    GPON_GUEST_CLOCK=$clock GPON_GUEST_SECONDS=${GPON_GUEST_SECONDS:-1800} \
        bash scripts/kernel/boot.sh "$arch" "$GPON_KERNEL_DIR/$arch/initramfs.gz" \
        "tests=$(IFS=,; echo "$*")" "${dirty_memory[@]}" "${guest_words[@]}" >"$log" 2>&1 || true
    show_guest_log "$log" "$arch"
    guest_log_is_good "$log" "$@"
}

# LOG TEST: whether the kernel panicked in the test with the message that the test's file names.
panicked_as_told() {
    local words
    words=$(sed -n 's/^# panics: //p' "tests/kernel/$2.sh")
    [ -n "$words" ] && tr -d '\r' <"$1" | grep -q "^@@ begin $2\$" &&
        grep -qF "Kernel panic - not syncing: $words" "$1" &&
        ! grep -qE '^@@ (end|done|the kernel complained)' "$1"
}

# ARCH TEST: one boot that the test ends.
boot_panic_test() {
    local arch=$1 name=$2 log=$GPON_BUILD_DIR/logs/guest-$1-${2//\//-}.log start=$SECONDS result=ok
    GPON_GUEST_SECONDS=300 bash scripts/kernel/boot.sh "$arch" \
        "$GPON_KERNEL_DIR/$arch/initramfs.gz" "tests=$name" >"$log" 2>&1 || true
    panicked_as_told "$log" "$name" || result=FAILED
    printf '  %-7s %-32s %-6s %4d s\n' "$arch" "$name" "$result" $((SECONDS - start))
    [ "$result" = ok ] || { tail -n 40 "$log" && return 1; }
}

# ARCH TEST...
run_guest_tests() {
    local arch=$1 name patient=() others=() stopping=() status=0
    shift
    for name in "$@"; do
        case $name in
        panic/*) stopping+=("$name") ;;
        time/*) patient+=("$name") ;;
        *) others+=("$name") ;;
        esac
    done
    if [ ${#others[@]} != 0 ]; then
        boot_guest_tests "$arch" real "${others[@]}" || status=1
    fi
    if [ ${#patient[@]} != 0 ]; then
        boot_guest_tests "$arch" instructions "${patient[@]}" || status=1
    fi
    for name in "${stopping[@]}"; do
        boot_panic_test "$arch" "$name" || status=1
    done
    return "$status"
}
