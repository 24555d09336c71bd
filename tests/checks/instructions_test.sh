# SPDX-License-Identifier: GPL-2.0-only
set -eu
. tests/checks/proof.sh

compare() {
    python3 scripts/compare-instructions.py "$tree/baseline.json" "$tree/measured.json"
}

# counts COMPILER INSTRUCTIONS ALLOCATIONS BYTES
counts() {
    printf '{"compiler": "%s", "loops": {"rule/lookup": {"instructions": %s, "allocations": %s, "bytes": %s}}}\n' "$@"
}

fresh_tree
counts 12.2.0 1000 3 112 | file baseline.json
counts 12.2.0 1000 3 112 | file measured.json
passes "the same" compare
counts 12.2.0 1030 3 112 | file measured.json
passes "3 % more" compare
counts 12.2.0 1031 3 112 | file measured.json
fails "over 3 % more" "SLOWER" compare
counts 12.2.0 900 3 112 | file measured.json
passes "faster" compare
counts 12.2.0 900 4 112 | file measured.json
fails "one more allocation" "MORE" compare
counts 12.2.0 900 3 113 | file measured.json
fails "one more byte" "MORE" compare
echo '{"compiler": "12.2.0", "loops": {}}' | file measured.json
fails "a loop that is gone" "MISSING" compare
counts 13.1.0 2000 3 112 | file measured.json
passes "another compiler's instructions" compare
counts 13.1.0 2000 4 112 | file measured.json
fails "another compiler, more allocations" "MORE" compare
rm "$tree/baseline.json"
fails "no baseline" "there is no baseline" compare

exit "$proofs_failed"
