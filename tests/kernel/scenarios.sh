# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# The scenario suite against the module in this kernel: each transcript equals that of the process
# build, without the platform calls that are visible only inside a process. Only scenarios that need
# a failing service or a jump of time are left to the process build.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh
# shellcheck source=scripts/kernel/guest/suite.sh
. /tests/suite.sh

export GPON_FLOW_MODULE=/modules/gpon_flow.ko

# FILE: 0 equal, 1 another transcript or a failed expectation, 3 not for a kernel.
run_scenario() {
    status=0
    gponflow run --backend=device --mask-lines "$1" >/tmp/got 2>/tmp/output || status=$?
    [ ! -d /sys/module/gpon_flow ] || rmmod gpon_flow
    if [ "$status" = 0 ]; then
        wanted_transcript "${1%.scn}.transcript" >/tmp/wanted
        cmp -s /tmp/wanted /tmp/got || status=1
    fi
    return "$status"
}

show_failure() {
    echo "---- $1"
    cat /tmp/output
    diff -U 3 /tmp/wanted /tmp/got | head -n 30
}

load_softonu unis=2
cd /tree || fail "there are no scenarios"
same=0
differ=0
elsewhere=0
for file in $(find . -name '*.scn' | sed 's#^\./##' | sort); do
    status=0
    progress "$same scenarios equal, now $file"
    run_scenario "$file" || status=$?
    # Neither may one be left out that a kernel can do, nor one be done in part.
    if is_for_a_process "$file"; then
        expect "$file, which is for a process: status" 3 "$status"
    fi
    case $status in
    0) same=$((same + 1)) ;;
    3)
        is_for_a_process "$file" || fail "$file is refused: $(cat /tmp/output)"
        elsewhere=$((elsewhere + 1))
        ;;
    *)
        differ=$((differ + 1))
        show_failure "$file"
        ;;
    esac
done
unload_softonu
echo "@@ $same scenarios equal, $differ not, $elsewhere only for the process build"
[ $differ = 0 ] || fail "$differ scenarios differ"
[ $same -gt 100 ] || fail "only $same scenarios were run"
