# SPDX-License-Identifier: GPL-2.0-only
set -eu
. tests/checks/proof.sh

in_tree() {
    git -C "$tree" -c user.name=proof -c user.email=proof@example.org -c core.hooksPath=/dev/null "$@"
}

commit() {
    in_tree commit -q --allow-empty -m "$1"
}

# [COMMIT]: the check in a tree with its scripts.
check_commits() {
    bash "$tree/scripts/check-commits.sh" "$@"
}

fresh_tree
mkdir -p "$tree/scripts"
cp -r scripts/check-commits.sh scripts/complain.sh scripts/hooks "$tree/scripts"
passes "a tree without history" check_commits
in_tree init -q
commit 'Plain English'
first=$(in_tree rev-parse HEAD)
passes "an unknown first commit" check_commits
passes "nothing after the first commit" check_commits "$first"
commit 'hash: compare keys by words'
passes "a good commit" check_commits "$first"
in_tree checkout -q -b other
commit 'docs: plain English'
commit 'docs: add a page'
in_tree checkout -q -
in_tree merge -q --no-ff -m 'Join other' other
fails "a commit without a verb" 'docs: plain English' check_commits "$first"
fails "the reason" '"plain" is not an imperative' check_commits "$first"
in_tree clone -q --depth 1 "file://$tree" "$tree/shallow"
cp -r "$tree/scripts" "$tree/shallow"
passes "a shallow clone" bash "$tree/shallow/scripts/check-commits.sh" "$first"
exit "$proofs_failed"
