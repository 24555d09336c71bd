# SPDX-License-Identifier: GPL-2.0-only
set -eu
. tests/checks/proof.sh
hook=scripts/hooks/commit-msg

# message TEXT: the hook on a message, with escapes as printf knows them.
message() {
    printf '%b\n' "$1" | file message
    sh "$hook" "$tree/message"
}

fresh_tree
passes "a subject" message 'hash: compare keys by words'
passes "a subject of the greatest length" message "tests: add $(printf 'a%.0s' {1..61})"
passes "a path as folder" message 'tool/omci: accept a cut trailer'
passes "two folders" message 'me, me_class: look an instance up once'
passes "a verb that ends in -ed" message 'tests: feed the parser with any bytes'
passes "a body" message 'build: cache objects\n\nA build takes minutes.'
passes "comments of git" message 'build: cache objects\n# Please enter the message\n#\n'
passes "a subject after comments and empty lines" message '\n# first\nbuild: cache objects'
passes "a diff below the scissors" \
    message 'build: cache objects\n# ------------------------ >8 ------------------------\ndiff --git'
passes "a merge" message 'Merge branch main into other'
passes "a revert" message 'Revert "build: cache objects"\n\nThis reverts commit 1.'
passes "a fixup" message 'fixup! build: cache objects'

fails "no folder" 'folder: imperative' message 'Compare keys by words'
fails "a folder in capitals" 'folder: imperative' message 'Hash: compare keys by words'
fails "nothing after the folder" 'folder: imperative' message 'hash: '
fails "no blank after the folder" 'folder: imperative' message 'hash:compare keys'
fails "an empty message" 'folder: imperative' message '# only comments'
fails "a subject of 73 characters" '73 characters' message "tests: add $(printf 'a%.0s' {1..62})"
fails "the past" 'not an imperative' message 'hash: compared keys by words'
fails "a participle" 'not an imperative' message 'hash: comparing keys by words'
fails "the third person" 'not an imperative' message 'hash: Adds a table'
fails "a noun" 'not an imperative' message 'docs: performance of remembered outcomes'
fails "an adjective" 'not an imperative' message 'tool: plain English in comments'
fails "no word" 'not an imperative' message 'tool: 3 rules'
fails "a full stop" 'full stop' message 'hash: compare keys by words.'
fails "no empty line" 'not empty' message 'hash: compare keys\nby words'

exit "$proofs_failed"
