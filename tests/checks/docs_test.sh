# SPDX-License-Identifier: GPL-2.0-only
# shellcheck disable=SC2016 # the back quotes are Markdown's
set -eu
. tests/checks/proof.sh
check=scripts/check-docs.py

fresh_tree
printf '> load\n@ mod_timer +30000 \n= load 0\n' | file recorded.transcript
printf 'Text.\n\n```transcript\n> load\n@ mod_timer +30000\n```\n' | file good.md
passes "a recorded block" python3 "$check" "$tree/recorded.transcript" "$tree/good.md"

printf '```transcript\n> load\n= load 0\n```\n' | file gap.md
fails "a block with a line left out" "is not in" python3 "$check" "$tree/recorded.transcript" "$tree/gap.md"
printf '```transcript\n> load\n= load 1\n```\n' | file other.md
fails "a block with another answer" "is not in" python3 "$check" "$tree/recorded.transcript" "$tree/other.md"
printf 'Text.\n' | file none.md
fails "a document without a block" "no block" python3 "$check" "$tree/recorded.transcript" "$tree/none.md"
printf '```transcript\n> load\n' | file open.md
fails "a block without an end" "without an end" python3 "$check" "$tree/recorded.transcript" "$tree/open.md"
fails "a document that is missing" "No such file" python3 "$check" "$tree/recorded.transcript" "$tree/absent.md"

exit "$proofs_failed"
