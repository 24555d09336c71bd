# SPDX-License-Identifier: GPL-2.0-only
#
# shellcheck shell=bash
# shellcheck disable=SC2034 # rank is for the file that sources this one
#
# The layers of the core, as src/layers.txt lists them.

# Sets rank: the layer of a file below src/, empty outside of the layers. The longest matching path
# counts.
rank_of() { # FILE
    local longest=0 number=0 path
    rank=
    while read -r -a paths; do
        for path in "${paths[@]}"; do
            case $path:$1 in
            */:src/"$path"* | *:src/"$path".*)
                if [ "${#path}" -gt "$longest" ]; then
                    longest=${#path}
                    rank=$number
                fi
                ;;
            esac
        done
        number=$((number + 1))
    done < <(grep -v '^#' src/layers.txt)
}
