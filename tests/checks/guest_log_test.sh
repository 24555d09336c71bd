# SPDX-License-Identifier: GPL-2.0-only
set -eu
. tests/checks/proof.sh

fresh_tree
printf '%s\r\n' 'booting' '@@ begin good' 'noise of a test' '@@ note 3 detectors fired' \
    '@@ note create: 20 operations, 7 failures injected, 5 operations refused' \
    '@@ note up_ani: 900 calls, 0 wrong results' '@@ end good 0 12' \
    '@@ begin bad' '    why it failed' '@@ end bad 1+log 3' '@@ begin lost' 'its last words' \
    '@@ the guest was stopped after 300 s' | file guest.log

read_log() {
    python3 scripts/kernel/guest_log.py "$@" <"$tree/guest.log" >"$tree/printed"
}

read_log tests arm64
for line in '  arm64          good                             ok       12 s' '    3 detectors fired' \
    '  arm64          bad                              FAILED    3 s' '    why it failed' \
    'its last words' '@@ the guest was stopped after 300 s'; do
    passes "the line $line" grep -qxF -- "$line" "$tree/printed"
done
fails "output of a test that passed" "" grep 'noise of a test' "$tree/printed"

read_log summary 'arm64 kasan'
for line in '1 of 2 tests passed in 15 s of guest time, 3 detectors fired on purpose' \
    '7 failures injected into 20 operations, 5 times refused' '900 calls in contention'; do
    passes "the line $line" grep -qxF -- "arm64 kasan: $line" "$tree/printed"
done

read_log row 'arm64 kasan'
passes "the row" grep -qxF -- '| arm64 kasan | 1 | bad lost | 3 | 7 | 900 | 15 s |' "$tree/printed"

printf '@@ begin first\n@@ end first 0 1\n@@ the kernel complained after all tests\n' | file guest.log
read_log row x86_64
passes "a row with the kernel's complaint" grep -qF '| 1 | the kernel log |' "$tree/printed"

printf '@@ begin first\n@@ end first 0 1\n@@ done\nafter the end\n' | file guest.log
read_log tests x86_64
fails "lines after the end" "" grep 'after the end' "$tree/printed"
fails "no action" "usage" read_log
exit "$proofs_failed"
