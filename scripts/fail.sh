# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=bash

# fail TEXT...: an error of the script that sources this one.
fail() {
    echo "${0##*/}: $*" >&2
    exit 1
}
