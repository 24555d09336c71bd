# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=bash
#
# Measured figures are documents of their own, which a command rewrites whole, so that the history
# of the text around them is not that of the figures. Sourced by the subcommands that have --write.

# write_result NAME TITLE: standard input becomes docs/results/NAME.md.
write_result() {
    local file=docs/results/$1.md
    mkdir -p docs/results
    {
        printf '<!-- SPDX-License-Identifier: GPL-2.0-only -->\n# %s\n\n' "$2"
        cat
    } >"$file.new" && mv "$file.new" "$file" && echo "wrote $file"
}
