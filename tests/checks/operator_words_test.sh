# SPDX-License-Identifier: GPL-2.0-only
set -eu
. tests/checks/proof.sh
check=scripts/check-operator-words.py

compare() {
    python3 "$check" "$tree/interpreter.cpp" "$tree/page.md"
}

fresh_tree
cp src/debug/interpreter.cpp "$tree"
cp docs/operating.md "$tree/page.md"
passes "the commands of the module" compare
sed -i '/set trace disable/d' "$tree/page.md"
fails "a command without a row" "no row for: set trace disable" compare
cp docs/operating.md "$tree/page.md"
sed -i 's/{"flow_rule", gpon_dbg_show_flow_rule/{"rules", gpon_dbg_show_flow_rule/' "$tree/interpreter.cpp"
fails "a command with another word" "no row for: show rules" compare
fails "a row without a command" "no command: show flow_rule" compare
sed -i 's/gpon_dbg_cmd_table/other_table/' "$tree/interpreter.cpp"
fails "an interpreter without its first table" "gpon_dbg_cmd_table" compare
exit "$proofs_failed"
