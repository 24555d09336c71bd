# SPDX-License-Identifier: GPL-2.0-only
#
# Lists of sources for the static checks. They include files that are not yet under version control.

tracked_and_new() {
    git ls-files --cached --others --exclude-standard -- "$@" | sort -u | while IFS= read -r file; do
        # A file that was removed stays in the list until the removal is committed.
        [ ! -f "$file" ] || printf '%s\n' "$file"
    done
}

# Without C in the kernel's style, and without the macros of the platform interface and the user-space
# header, which are formatted by hand.
cpp_sources_to_format() {
    tracked_and_new '*.cpp' '*.h' |
        grep -Ev '^(src/platform/linux/|softonu/|src/platform/api/kernel_api\.h|src/include/uapi/)'
}

shell_sources() {
    tracked_and_new run .ci/run '*.sh'
}

python_sources() {
    tracked_and_new '*.py'
}

# Written by people: no recordings, no licence texts, no pictures.
texts() {
    tracked_and_new | grep -Ev '^(captures|fuzz/corpus|LICENSES)/|^LICENSE$|\.(pcap|svg|transcript)$'
}
