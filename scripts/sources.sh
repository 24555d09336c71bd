# SPDX-License-Identifier: GPL-2.0-only
#
# Which sources the tools that read sources are given. A file not yet under version control counts.

tracked_and_new() {
    git ls-files --cached --others --exclude-standard -- "$@" | sort -u | while IFS= read -r file; do
        # A file that was removed stays in the list until the removal is committed.
        [ ! -f "$file" ] || printf '%s\n' "$file"
    done
}

# The kernel's C style is another; the seam's macros and the user-space header are set by hand.
cpp_sources_to_format() {
    tracked_and_new '*.cpp' '*.h' |
        grep -Ev '^(src/platform/linux/|softonu/|src/platform/api/kernel_api\.h|src/include/uapi/)'
}

shell_sources() {
    tracked_and_new run .ci/run '*.sh'
}
