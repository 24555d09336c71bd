# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=bash disable=SC2154
#
# Wrong edits of sources that only a kernel runs: the modules are built with the edit, and the guest tests
# of the file run in a guest. Sourced by "./run mutate", which sets "here", "output", "limits" and the
# tests of an edit.

guest_arch=${GPON_MUTATE_ARCH:-arm64} guest_files=$GPON_KERNEL_DIR
guest_tree=$here/tree

# FILE: the guest tests that an edit of it has to fail.
guest_tests_of() {
    sed -n "s|^$1: ||p" tests/mutations/guest-tests
}

# FILE EDITED: a tree whose other files are those of this one. Without arguments nothing is edited.
make_guest_tree() {
    rm -rf "$guest_tree"
    mkdir -p "$guest_tree"
    cp -al run Kbuild CMake* cmake packages.txt scripts src softonu tool tests scenarios captures docs \
        "$guest_tree"
    # The tool is that of the right sources.
    rm "$guest_tree/scripts/kernel/tool.sh"
    : >"$guest_tree/scripts/kernel/tool.sh"
    if [ $# != 0 ]; then
        rm "$guest_tree/$1"
        cp "$2" "$guest_tree/$1"
    fi
}

# FILE: its object is made again. That of the edit before would be newer than the unedited source.
forget_objects() {
    local modules=$here/kernel/$guest_arch/modules
    case $1 in
    *.c | *.cpp) rm -f "$modules/${1%.*}.o" ;;
    *) rm -rf "$modules" ;;
    esac
}

# SECONDS TEST...: builds the tree's modules and runs the tests. A kernel with a fault, which may keep a
# lock for ever, a kernel that no longer moves, or a test that does not end, is a failure that the guest
# itself reports. The clock of tests in time/ jumps.
run_in_guest() {
    local seconds=$1 words=(oops=panic softlockup_panic=1 sysctl.kernel.hung_task_panic=1)
    shift
    [[ " $*" == *" time/"* ]] || words+=("seconds=$((seconds / 4))")
    rm -rf "$guest_tree/build/logs"
    (
        cd "$guest_tree" || exit
        GPON_KERNEL_DIR=$here/kernel GPON_BUILD_DIR=build GPON_GUEST_SECONDS=$seconds \
            ./run test-kernel "$guest_arch" "$@" "${words[@]}"
    ) >"$output" 2>&1
}

# The test that failed first, or the one that was running when the kernel stopped.
guest_culprit() {
    local logs=("$guest_tree"/build/logs/guest-*.log)
    grep -oE "^  $guest_arch +[^ ]+ +FAILED" "$output" | awk '{print $2; exit}' | grep . && return
    if grep -q '^@@ the kernel complained' "${logs[@]}"; then
        echo "the check of the kernel log"
    else
        cat "${logs[@]}" | tr -d '\r' | sed -n 's/^@@ begin //p' | tail -n 1 | grep .
    fi
}

# A guest that was stopped proves nothing: the machine may be busy.
guest_was_stopped() {
    cat "$guest_tree"/build/logs/guest-*.log 2>/dev/null | grep -o '@@ the guest was stopped.*'
}

# TEST...: the tests pass in the modules as they are. An edit has ten times their seconds, and at least
# those in which the kernel reports that it no longer moves.
measure_guest() {
    local start=$SECONDS limit
    [ -z "${limits[guest $*]-}" ] || return 0
    make_guest_tree
    run_in_guest 1800 "$@" || return
    limit=$((10 * (SECONDS - start)))
    limits[guest $*]=$((limit < 300 ? 300 : limit))
}

# FILE: chooses the tests of an edit, guest_words, and measures them.
choose_guest_tests() {
    # shellcheck disable=SC2206 # the names of tests are words
    guest_words=(${guest_tests:-$(guest_tests_of "$1")})
    if [ ${#guest_words[@]} = 0 ]; then
        echo "tests/mutations/guest-tests has no test for $1" >"$output"
        return 1
    fi
    measure_guest "${guest_words[@]}"
}

# Prints the test that fails; status 1 if none fails. A busy machine may fail a test as well, so the
# test has to fail twice.
failing_guest_test() {
    local limit=$1 who again
    shift
    run_in_guest "$limit" "$@" && return 1
    ! grep -q '^modules-.* FAILED' "$output" || return 3
    guest_was_stopped | sed 's/^@@ //' | grep . && return 2
    who=$(guest_culprit) || return 2
    again=("$who")
    [ -f "tests/kernel/$who.sh" ] || again=("$@")
    if run_in_guest "$limit" "${again[@]}"; then
        echo "$who failed at first and passed when it was repeated"
        return 2
    fi
    guest_was_stopped | sed 's/^@@ //' | grep . && return 2
    echo "$who in a guest"
}

noticed_by_guest() {
    local status=0
    make_guest_tree "$1" "$2"
    forget_objects "$1"
    failing_guest_test "${limits[guest ${guest_words[*]}]}" "${guest_words[@]}" || status=$?
    forget_objects "$1"
    return "$status"
}

# Copies of the guest's files with modules of their own: hard links, which every script replaces and does
# not write through.
prepare_guest() {
    local tracer
    need kernel cross build
    step "fetch-$guest_arch" bash scripts/kernel/fetch.sh "$guest_arch"
    step "tool-$guest_arch" bash scripts/kernel/tool.sh "$guest_arch" "$guest_files/$guest_arch/tool"
    rm -rf "$here/kernel"
    mkdir -p "$here/kernel"
    cp -al "$guest_files/$guest_arch" "$here/kernel/"
    for tracer in $(guest_tracers); do
        cp -al "$(tracer_root "$guest_arch" "$tracer")" "$here/kernel/"
    done
    rm -rf "$here/kernel/$guest_arch"/{modules*,initramfs.cpio}
}
