# SPDX-License-Identifier: GPL-2.0-only
set -eu
. tests/checks/proof.sh
check=scripts/replay-docs.py

# What the sessions call is a tool of three words.
fresh_tree
printf '#!/bin/sh\necho "called $*"\nexit 3\n' | file tool
chmod +x "$tree/tool"
fence='```'
session() { # NAME: a document with the session of standard input
    { echo "$fence"console; cat; echo "$fence"; } | file "$1"
}

printf '$ gponflow a b\ncalled a b\n$ echo $?\n3\n' | session good.md
passes "a session as it is" python3 "$check" "$tree/tool" "$tree/good.md"
printf '$ cat > x <<E\none\nE\n$ cat \\\n  x\none\n$ pwd | grep -c /\n1\n' | session long.md
passes "commands of more than a line" python3 "$check" "$tree/tool" "$tree/long.md"

printf '$ gponflow a b\ncalled a c\n' | session other.md
fails "another output" "the command prints" python3 "$check" "$tree/tool" "$tree/other.md"
printf '$ gponflow a b\n' | session less.md
fails "an output left out" "called a b" python3 "$check" "$tree/tool" "$tree/less.md"
printf '$ exit 0\n$ true\n' | session ended.md
fails "a session that ends early" "ended before" python3 "$check" "$tree/tool" "$tree/ended.md"
printf 'text first\n' | session text.md
fails "a session without a command" "begins with" python3 "$check" "$tree/tool" "$tree/text.md"
printf 'Text.\n\n    gponflow a b\n' | file indented.md
fails "a command outside of a session" "outside" python3 "$check" "$tree/tool" "$tree/indented.md"
printf '%ssh\ngponflow a\n%s\n' "$fence" "$fence" | file kind.md
fails "a block of another kind" "unknown kind" python3 "$check" "$tree/tool" "$tree/kind.md"
printf '%sconsole\n$ true\n' "$fence" | file open.md
fails "a session without an end" "without an end" python3 "$check" "$tree/tool" "$tree/open.md"
fails "a document that is missing" "absent.md" python3 "$check" "$tree/tool" "$tree/absent.md"

printf 'See [it](good.md#part), [there](https://example.org) and [here](gone.md).\n' | file link.md
fails "a link to nothing" "nothing: gone.md" python3 "$check" "$tree/tool" "$tree/link.md"

untested() { printf '%s\n\n%sconsole untested\n$ reboot\n%s\n' "$1" "$fence" "$fence"; }
untested '*Not run by the tests: it ends the machine.*' | file marked.md
passes "a session that says why it is not replayed" python3 "$check" "$tree/tool" "$tree/marked.md"
untested 'Try it:' | file silent.md
fails "one that does not say why" "Not run by the tests" python3 "$check" "$tree/tool" "$tree/silent.md"
for _ in 1 2 3 4 5; do untested '*Not run by the tests: it ends the machine.*'; done | file many.md
fails "many of them" "are not tested" python3 "$check" "$tree/tool" "$tree/many.md"

printf '$ gponflow new\ncalled old\n' | session stale.md
passes "writing what is printed" python3 "$check" --write "$tree/tool" "$tree/stale.md"
passes "what was written" python3 "$check" "$tree/tool" "$tree/stale.md"

exit "$proofs_failed"
