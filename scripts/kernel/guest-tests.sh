# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=bash
#
# Runs guest tests and says what became of each. Sourced in the root of the tree, after log.sh and
# common.sh. A test is a file tests/kernel/NAME.sh. Those in time/ wait for minutes: they get a
# boot of their own, in which idle time passes at once.

# Further words for the kernel's command line, which the guest's init gets as variables.
guest_words=()

all_guest_tests() {
    find tests/kernel -name '*.sh' -printf '%P\n' | sed 's/\.sh$//' | sort
}

# ARCH: everything that a guest is made of.
prepare_guest() {
    local programs=$GPON_KERNEL_DIR/$1/programs tool=$GPON_KERNEL_DIR/$1/tool
    step "fetch-$1" bash scripts/kernel/fetch.sh "$1" &&
        step "modules-$1" bash scripts/kernel/build.sh "$1" &&
        step "programs-$1" bash scripts/kernel/programs.sh "$1" "$programs" &&
        step "tool-$1" bash scripts/kernel/tool.sh "$1" "$tool" &&
        step "initramfs-$1" bash scripts/kernel/initramfs.sh "$1" \
            "$GPON_KERNEL_DIR/$1/initramfs.gz" "$programs"/* "$tool/bin/gponflow"
}

# LOG ARCH: a line for each test, with its notes when it passed, else with all that it printed.
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

# LOG TEST...: whether each test began, ended well, and the guest came to its end.
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
        "tests=$(IFS=,; echo "$*")" "${guest_words[@]}" >"$log" 2>&1 || true
    show_guest_log "$log" "$arch"
    guest_log_is_good "$log" "$@"
}

# ARCH TEST...
run_guest_tests() {
    local arch=$1 name patient=() others=() status=0
    shift
    for name in "$@"; do
        case $name in
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
    return "$status"
}
