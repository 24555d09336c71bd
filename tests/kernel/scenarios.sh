# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Every scenario of the suite against the module in this kernel: its transcript must equal the one
# recorded in a process. What only a process can do (time at will, failing services) is passed over
# and counted; a scenario that is passed over must say so by its exit status 3.
. /tests/lib.sh

[ -x /bin/gponflow ] || fail "there is no gponflow in this guest"
export GPON_FLOW_MODULE=/modules/gpon_flow.ko

# Lines of the recorded transcript that a kernel shows too.
seen_from_outside() {
    awk '!/^@ / || /^@ gpon_(queue_)?mapping_hook/' "$1"
}

same=0
passed_over=0
differ=""
load_softonu
for scenario in $(find /suite -name '*.scn' | sort); do
    status=0
    (cd "$(dirname "$scenario")" &&
        gponflow run --backend=device --mask-lines "$scenario" >/tmp/got 2>/tmp/why) || status=$?
    if lsmod | grep -q '^gpon_flow '; then
        rmmod gpon_flow || fail "gpon_flow does not unload after $scenario"
    fi
    if [ "$status" = 3 ]; then
        grep -qE "'(advance|fault)' needs --backend=host" /tmp/why ||
            { cat /tmp/why; fail "$scenario was refused"; }
        passed_over=$((passed_over + 1))
        continue
    fi
    seen_from_outside "${scenario%.scn}.transcript" >/tmp/wanted
    if ! diff -u /tmp/wanted /tmp/got >/tmp/difference; then
        echo "$scenario (status $status):"
        head -n 40 /tmp/difference
        cat /tmp/why
        differ="$differ $scenario"
        continue
    fi
    same=$((same + 1))
done
rmmod gpon_softonu || fail "gpon_softonu does not unload"
[ -z "$differ" ] || fail "transcripts differ:$differ"
[ "$same" -gt 0 ] || fail "no scenario ran"
echo "@@ note $same transcripts are equal, $passed_over scenarios need a process"
