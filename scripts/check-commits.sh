#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: check-commits.sh [COMMIT]
#
# Runs the commit-msg hook on the message of each commit after COMMIT, by default after the one with
# which the hook began to check verbs. A copy without this history has nothing to check.
set -eu
cd "$(dirname "$0")/.."
# shellcheck source=scripts/complain.sh
. scripts/complain.sh

first=${1:-198ea9798b40d5f56c5371f61cfdd7025dce9219}
if ! git merge-base --is-ancestor "$first" HEAD 2>/dev/null; then
    echo "no commit is checked: the history does not contain $first"
    exit 0
fi

message=$(mktemp)
trap 'rm -f "$message"' EXIT
mapfile -t commits < <(git rev-list --no-merges "$first..HEAD")
for commit in "${commits[@]}"; do
    git log -1 --format=%B "$commit" >"$message"
    found=$(sh scripts/hooks/commit-msg "$message" 2>&1) ||
        complain_of "$(git log -1 --format='%h %s' "$commit")" <<<"$found"
done
echo "${#commits[@]} commits"
exit "$failed"
