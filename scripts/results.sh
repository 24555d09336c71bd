# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=bash
#
# Measured figures are in separate documents, which a command rewrites as a whole. The history of
# figures is thus separate from that of the text. Sourced by the subcommands with --write.

# The date and the commit of the tree. "+" marks changes that are not committed; documents of results, which
# a long run writes one after the other, are none.
source_state() {
    local commit changes
    commit=$(git rev-parse --short=10 HEAD 2>/dev/null) || commit=unknown
    changes=$(git status --porcelain --untracked-files=no -- . ':!docs/results' 2>/dev/null) || true
    echo "$(date -u +%F) $commit${changes:++}"
}

# Processes that are ready to run, in the last minute.
machine_load() {
    cut -d' ' -f1 /proc/loadavg
}

# write_result NAME TITLE: standard input becomes docs/results/NAME.md.
write_result() {
    local file=docs/results/$1.md state
    state=$(source_state)
    mkdir -p docs/results
    {
        # REUSE-IgnoreStart
        printf '<!-- SPDX-License-Identifier: GPL-2.0-only -->\n# %s\n\n' "$2"
        # REUSE-IgnoreEnd
        cat
        printf '\nWritten on %s at commit %s, with a load of %s on %s processors.\n' "${state%% *}" \
            "${state#* }" "$(machine_load)" "$(nproc)"
    } >"$file.new" && mv "$file.new" "$file" && echo "wrote $file"
}
