# SPDX-License-Identifier: GPL-2.0-only
set -eu
. tests/checks/proof.sh
check=scripts/check-repo.sh
# REUSE-IgnoreStart
licence='// SPDX-License-Identifier: GPL-2.0-only'
# REUSE-IgnoreEnd
unmarked='Files: *
License: GPL-2.0-only

Files:
 .reuse/dep5
 LICENSE
 docs/*.svg
Copyright: none'

commit_all() {
    git -C "$tree" init -q
    git -C "$tree" add -A
}

# TITLE TEXT: the tree that was made fails with TEXT, tracked or unpacked from an archive.
refused() {
    fails "$1 (unpacked)" "$2" bash "$check" "$tree"
    commit_all
    fails "$1" "$2" bash "$check" "$tree"
}

fresh_tree
file a.cpp <<<"$licence"
file notes.md <<<"<!-- ${licence#// } --> about build/work/ folders"
file LICENSE <<<'a line that ends in blanks  '
file docs/a/b.svg <<<'<svg/>'
file .reuse/dep5 <<<"$unmarked"
passes "a clean tree (unpacked)" bash "$check" "$tree"
commit_all
passes "a clean tree" bash "$check" "$tree"
file untracked.cpp <<<'int a;'
passes "a file that is not tracked" bash "$check" "$tree"

fresh_tree
printf '%s\n// see %s\n' "$licence" "/root""/notes" | file a.h
refused "a path of a machine" "path of one machine"

fresh_tree
printf '%s\nvoid f(void) { spin_lock_bh(&lock); }\n' "$licence" | file softonu/a.c
refused "a lock without PREEMPT_RT" "softonu/a.c"
printf '%s\n/* PREEMPT_RT: it sleeps. */\nvoid f(void) { spin_lock_bh(&lock); }\n' "$licence" |
    file softonu/a.c
passes "a lock with PREEMPT_RT" bash "$check" "$tree"

fresh_tree
file CMakeLists.txt <<<'project(a)'
refused "a source without a licence" "without its licence"

fresh_tree
file a.md <<<'# Title'
refused "a document without a licence" "without its licence"

fresh_tree
file .reuse/dep5 <<<"$unmarked"
file src/a.svg <<<'<svg/>'
refused "a picture that the list does not name" "src/a.svg"

fresh_tree
printf '%s\nint a; \n' "$licence" | file a.c
refused "a blank at the end of a line" "blanks at the end"

fresh_tree
printf '%s' "$licence" | file a.cpp
refused "an unfinished last line" "no line feed"

fresh_tree
fails "an empty tree" "nothing to check" bash "$check" "$tree"
exit "$proofs_failed"
