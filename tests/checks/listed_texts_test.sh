# SPDX-License-Identifier: GPL-2.0-only
set -eu
. tests/checks/proof.sh
check=scripts/check-listed-texts.py

listed_tree() {
    fresh_tree
    file src/a.cpp <<<$'\tcall(1);\n    return;'
    file tests/unreached.txt <<<$'# Why.\nsrc/a.cpp: return;'
    edit 'call(1);\n    return'
}

# edit TEXT: a wrong edit of this text.
edit() {
    printf '# Edits.\n\nname: edit\nfile: src/a.cpp\nfrom: %s\nto:\n\n' "$1" |
        file tests/mutations/edits.txt
}

listed_tree
passes "texts that are there" python3 "$check" "$tree"
edit '\tcall'
passes "a text with an escaped tab" python3 "$check" "$tree"
edit 'call(2)'
fails "an edit of no text" 'edit: 0 times in src/a.cpp' python3 "$check" "$tree"
edit 'l'
fails "an edit of many texts" 'edit: 2 times in src/a.cpp' python3 "$check" "$tree"

listed_tree
file tests/unreached.txt <<<'src/a.cpp: return 1;'
fails "a line that went" "no line 'return 1;'" python3 "$check" "$tree"
file tests/unreached.txt <<<'src/b.cpp: return;'
fails "a file that went" "no line 'return;'" python3 "$check" "$tree"

exit "$proofs_failed"
