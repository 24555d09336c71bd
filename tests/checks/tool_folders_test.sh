# SPDX-License-Identifier: GPL-2.0-only
set -eu
. tests/checks/proof.sh
check=scripts/check-tool-folders.sh
layers=$(cat tool/layers.txt)

tool_tree() {
    fresh_tree
    file tool/layers.txt <<<"$layers"
    file tool/text/a.h </dev/null
}

tool_tree
file tool/commands/a.cpp <<<'#include "tool/text/a.h"'
file tool/live/a.cpp <<<'#include "tool/live/b.h"'
passes "includes of the own and of lower folders" bash "$check" "$tree"

file tool/scenario/a.cpp <<<'#include "tool/live/a.h"'
fails "an include of a higher folder" 'a folder above its own' bash "$check" "$tree"

tool_tree
file tool/other/a.cpp </dev/null
fails "a folder without a rank" 'does not list' bash "$check" "$tree"

fresh_tree
file tool/layers.txt <<<"$layers"
fails "a tree without the tool" 'no source' bash "$check" "$tree"
exit "$proofs_failed"
