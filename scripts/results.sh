# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=bash
#
# Measured figures are in separate documents, which a command rewrites as a whole. The history of
# figures is thus separate from that of the text. Sourced by the subcommands with --write.

# write_result NAME TITLE: standard input becomes docs/results/NAME.md.
write_result() {
    local file=docs/results/$1.md
    mkdir -p docs/results
    {
        # REUSE-IgnoreStart
        printf '<!-- SPDX-License-Identifier: GPL-2.0-only -->\n# %s\n\n' "$2"
        # REUSE-IgnoreEnd
        cat
    } >"$file.new" && mv "$file.new" "$file" && echo "wrote $file"
}
