# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Scenarios of the suite in a kernel.

# TRANSCRIPT: without the calls of the platform that only a process shows.
wanted_transcript() {
    sed -e '/^@ gpon_mapping_hook/b' -e '/^@ gpon_queue_mapping_hook/b' -e '/^@ /d' "$1"
}

# FILE: it has commands that only a process supports: jumps of time, failing services.
is_for_a_process() {
    grep -qE '^[[:blank:]]*(advance|fault)([[:blank:]]|$)' "$1"
}
