# SPDX-License-Identifier: GPL-2.0-only
#
# shellcheck disable=SC2016 # the backticks are those of documents
set -eu
. tests/checks/proof.sh
check=scripts/check-paths.py

# document TEXT: a tree of three sources, and a document with the text.
document() {
    fresh_tree
    git -C "$tree" init -q
    file src/me/list.h </dev/null
    file src/me/list.cpp </dev/null
    file tool/live/reader.h </dev/null
    file docs/page.md <<<"$1"
    file CHANGELOG.md <<<'The file `src/me/gone.h` is deleted.'
    git -C "$tree" add -A
}

document 'Read `src/me/list.h`, `src/me/`, `src/me/list` and `tool/live/*.h`.'
passes "paths of files, of a folder and of files of a name" python3 "$check" "$tree"
document 'The words `./run bench`, `write/read`, `src/me/SHORT_name.cpp`, `docs/results/long-run.md`,
of `src/me/list.{h,cpp}`'
passes "words that are no paths" python3 "$check" "$tree"
document '`src/me/list.h`

```console
$ ls `src/me/nothing.h`
```'
passes "a path within a block" python3 "$check" "$tree"

document 'Extend `src/me/list.h` or
`tool/live/state.h`.'
fails "a path that does not exist" "docs/page.md:2: no tool/live/state.h" python3 "$check" "$tree"
document 'Run `cat src/me/nothing.h`.'
fails "a path in a command" "no src/me/nothing.h" python3 "$check" "$tree"
document '`src/me/list.{h,txt}`'
fails "one choice of two" "no src/me/list.txt" python3 "$check" "$tree"
document '`tool/live/*.cpp`'
fails "wildcards without a file" "no tool/live/" python3 "$check" "$tree"
document 'No path at all.'
fails "a tree whose documents name no path" "no document names a path" python3 "$check" "$tree"
exit "$proofs_failed"
