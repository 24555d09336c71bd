# SPDX-License-Identifier: GPL-2.0-only
# shellcheck disable=SC2034 # read by the sourced scripts
set -eu
. tests/checks/proof.sh
. scripts/results.sh
GPON_KERNEL_DIR=$tree
GPON_BUILD_DIR=$tree
. scripts/kernel/kernels.sh
. scripts/kernel/kernel-matrix.sh

# Without a kernel.
kernel_release() { echo 6.1.0; }
kernel_traits() { echo PREEMPT_RT; }
source_state() { echo "2026-01-02 abc"; }

# row STATUS WANTED: of the tests one to four of nine, after the results on standard input.
row() {
    file logs/tests-arm64-6.1.txt
    matrix_row arm64/6.1 "$1" 9 one two three four >"$tree/row"
    passes "the row $2" grep -qxF -- "| arm64/6.1 | 6.1.0 | PREEMPT_RT | yes | 4 of 9 | $2 | 2026-01-02 abc |" \
        "$tree/row"
}

fresh_tree
row 0 '4 | none | two | 10 s' <<'END'
  arm64/6.1      one                              ok        1 s
  arm64/6.1      two                              ok        2 s
    left out: half of it
    left out: the rest
  arm64/6.1      three                            ok        3 s
  arm64/6.1      four                             ok        4 s
END
# A guest that stops, and a kernel that complains between two tests.
row 1 '1 | four three two | none | 3 s' <<'END'
  arm64/6.1      one                              ok        1 s
  arm64/6.1      two                              FAILED    2 s
    left out: what a failed test prints
END
row 1 '4 | the kernel log | none | 4 s' <<'END'
  arm64/6.1      one                              ok        1 s
  arm64/6.1      two                              ok        1 s
  arm64/6.1      three                            ok        1 s
  arm64/6.1      four                             ok        1 s
END

rm "$tree/logs/tests-arm64-6.1.txt"
for preparing in "fetch:| arm64/6.1 | | | not fetched |" "modules:| arm64/6.1 | 6.1.0 | PREEMPT_RT | no |" \
    "guest:| arm64/6.1 | 6.1.0 | PREEMPT_RT | yes | no guest |"; do
    wanted=${preparing#*:} preparing=${preparing%%:*}
    matrix_row arm64/6.1 1 9 one >"$tree/row"
    passes "the row of a kernel whose $preparing failed" grep -qF -- "$wanted" "$tree/row"
done

# Each row has the columns of the head.
columns() {
    head -n 1 | tr -dc '|' | wc -c
}
passes "as many columns as the head" [ "$(matrix_head | columns)" = "$(columns <"$tree/row")" ]

exit "$proofs_failed"
