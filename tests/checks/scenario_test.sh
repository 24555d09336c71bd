# SPDX-License-Identifier: GPL-2.0-only
set -eu
. tests/checks/proof.sh
runner=scripts/scenario.sh

# Replaces the tool: prints the file in its argument, or fails if the file requests it.
fresh_tree
file tool <<'TOOL'
#!/bin/bash
[ "$1 $2" = "run --mask-lines" ] || exit 9
cat "$3"
! grep -q '^! ' "$3"
TOOL
chmod +x "$tree/tool"
file a.scn <<<'echo a'

fails "a scenario without a transcript" "has no transcript" \
    bash "$runner" check "$tree/tool" "$tree/a.scn"
passes "recording" bash "$runner" record "$tree/tool" "$tree/a.scn"
passes "the same transcript" bash "$runner" check "$tree/tool" "$tree/a.scn"
file a.scn <<<'echo b'
fails "another transcript" "+echo b" bash "$runner" check "$tree/tool" "$tree/a.scn"

file a.scn <<<'! expected a=1, got 2'
fails "an expectation that fails" "expected a=1" bash "$runner" check "$tree/tool" "$tree/a.scn"
fails "recording a failure" "exit status is 1" bash "$runner" record "$tree/tool" "$tree/a.scn"
passes "keeps the old transcript" grep -q 'echo a' "$tree/a.transcript"
fails "a tool that is not there" "exit status" bash "$runner" check "$tree/none" "$tree/a.scn"
fails "no scenario" "usage" bash "$runner" check "$tree/tool"
exit "$proofs_failed"
