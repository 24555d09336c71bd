# SPDX-License-Identifier: GPL-2.0-only
set -eu
. tests/checks/proof.sh
check=scripts/check-listed-texts.py

listed_tree() {
    fresh_tree
    file src/a.cpp <<<$'\tcall(1);\n    return;'
    file tests/unreached.txt <<<$'# Why.\nsrc/a.cpp: return;'
    file softonu/b.c <<<'call(2);'
    file tests/kernel/some.sh <<<'call'
    file tests/mutations/guest-tests <<<$'# Why.\nsoftonu/b.c: some'
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
cp "$tree/tests/mutations/edits.txt" "$tree/tests/mutations/generated.txt"
fails "two edits of one name" 'edit: a second edit of this name' python3 "$check" "$tree"
rm "$tree/tests/mutations/generated.txt"

file softonu/c.c <<<'call(3);'
fails "a source without a guest test" 'no guest test for softonu/c.c' python3 "$check" "$tree"
file tests/mutations/guest-tests <<<$'softonu/b.c: some\nsoftonu/c.c: some other'
fails "a guest test that went" 'there is no guest test other' python3 "$check" "$tree"
file tests/mutations/guest-tests <<<$'softonu/b.c: some\nsoftonu/c.c: some\nsoftonu/d.c: some'
fails "guest tests of a file that went" 'there is no softonu/d.c' python3 "$check" "$tree"
listed_tree
printf 'name: guest\nfile: softonu/b.c\nfrom: (2)\nto:   (3)\nby:   guest\ntests: gone\n' |
    file tests/mutations/edits.txt
fails "an edit with a guest test that went" 'guest: there is no guest test gone' \
    python3 "$check" "$tree"

listed_tree
file tests/unreached.txt <<<'src/a.cpp: return 1;'
fails "a line that went" "no line 'return 1;'" python3 "$check" "$tree"
file tests/unreached.txt <<<'src/b.cpp: return;'
fails "a file that went" "no line 'return;'" python3 "$check" "$tree"

listed_tree
file scripts/run/test-stale-rules.sh <<<'measure some_test 1 "changes"'
file tests/threads/outcome_test.cpp <<<'TEST(outcome_threads, some_test)'
passes "a run of a test that is there" python3 "$check" "$tree"
file tests/threads/outcome_test.cpp <<<'TEST(outcome_threads, some_other_test)'
fails "a run of a test that went" 'no test some_test' python3 "$check" "$tree"

exit "$proofs_failed"
